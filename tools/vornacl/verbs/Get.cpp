// get: the value of an attribute of another process.
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/LiveAttribute.h"

namespace Tools {

Run declareGet(CLI::App& app) {
  auto const options = std::make_shared<AttributeOptions>();
  options->declare(app);
  return [options](Output& output) {
    LiveTree const live = options->connect();
    output.line("{}", LiveAttribute(live.tree(), options->path, options->attribute).text());
    return Exit::done;
  };
}

}  // namespace Tools
