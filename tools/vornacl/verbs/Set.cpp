// set: changes an attribute of another process.
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/LiveAttribute.h"

namespace Tools {

namespace {

struct SetOptions : AttributeOptions {
  std::string value;
};

Exit set(SetOptions const& options) {
  std::string wanted;
  {
    LiveTree live = options.connect();
    LiveAttribute attribute(live.tree(), options.path, options.attribute);
    wanted = attribute.canonical(options.value);
    attribute.valueIs(options.value);
    live.finish();
  }
  // A process that takes no changes ends the connection, sooner or later: what stands there is looked up.
  LiveTree const live = options.connect();
  std::string const is = LiveAttribute(live.tree(), options.path, options.attribute).text();
  if (is != wanted) {
    message(options.address + ": not taken, it is " + is);
    return Exit::differs;
  }
  return Exit::done;
}

}  // namespace

Run declareSet(CLI::App& app) {
  auto const options = std::make_shared<SetOptions>();
  options->declare(app);
  app.add_option("VALUE", options->value, "The new value, in the form that get prints")->required();
  app.footer("Status 1 if the process does not take the change.");
  return [options](Output&) { return set(*options); };
}

}  // namespace Tools
