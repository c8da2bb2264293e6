// call: calls a function of an entity of another process.
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/LiveAttribute.h"

namespace Tools {

namespace {

struct CallOptions : EntityOptions {
  std::string function;
  std::vector<std::string> arguments;
};

Exit call(CallOptions const& options, Output& output) {
  LiveTree live = options.connect();
  auto const entity = reflectionAt(live.tree(), options.path);
  auto const function = entity->type()->attr(Kro::Name(Kro::String8(options.function)));
  if (!function || function->toolKind().string() != Kro::String8("function")) {
    throw Failure(Exit::notFound,
                  std::string(entity->type()->fullName().view()) + " has no function \"" + options.function + "\"");
  }
  auto const& parameters = function->arguments();
  if (parameters.size() != options.arguments.size()) {
    throw Failure(Exit::usage, options.function + " takes " + counted(parameters.size(), "argument"));
  }
  std::vector<Kro::Ptr<Kro::GenericIf>> arguments;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    arguments.push_back(valueOf(live.tree(), Kro::KroType::typeNode(parameters[i].typeName), options.arguments[i],
                                std::string(parameters[i].name.view())));
  }
  auto const result = entity->call(Kro::String8(options.function), arguments);
  if (function->attrType()) {
    output.line("{}", result->strRep().view());
  }
  if (!live.finish()) {
    throw Failure(Exit::noConnection, options.address + ": it has ended the connection before it took all changes");
  }
  return Exit::done;
}

}  // namespace

Run declareCall(CLI::App& app) {
  auto const options = std::make_shared<CallOptions>();
  options->declare(app);
  app.add_option("FUNCTION", options->function, "Its function, as types tells it")->required();
  app.add_option("ARGUMENT", options->arguments, "Values in the form that get prints, entities by their paths");
  app.footer("The function runs here, on a copy of the tree; what it changes is sent to the process.");
  return [options](Output& output) { return call(*options, output); };
}

}  // namespace Tools
