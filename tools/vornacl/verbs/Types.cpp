// types: what the model is made of.
#include "tools/common/Types.h"

#include "tools/vornacl/Verbs.h"

namespace Tools {

Run declareTypes(CLI::App& app) {
  auto const name = std::make_shared<std::string>();
  app.add_option("NAME", *name, "A type, by its full name or the last part of it; all without");
  return [name](Output& output) {
    std::string const text = typesText(*name);
    if (text.empty()) {
      throw Failure(Exit::notFound, "there is no type \"" + *name + "\"");
    }
    output.text() += text;
    return Exit::done;
  };
}

}  // namespace Tools
