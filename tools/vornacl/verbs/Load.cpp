// load: reads rules, and tells what was loaded or prints it.
#include <nlohmann/json.hpp>

#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/rules/Canonical.h"
#include "tools/vornacl/rules/Loader.h"
#include "tools/vornacl/verbs/FileOptions.h"

namespace Tools {

namespace {

struct LoadOptions : FileOptions {
  std::vector<std::string> files;
  bool expands = false;
  bool prints = false;
  bool isText = false;
  bool isJson = false;
};

void tell(LoadedFile const& file, bool isJson, Output& output) {
  for (auto const& acl : file.acls) {
    std::uint32_t const rules = acl->ipRuleByIdSize() + acl->macRuleByIdSize();
    std::string const path(acl->fullName().view());
    if (isJson) {
      output.json({{"event", "acl"},
                   {"file", file.name},
                   {"form", nameOf(file.form)},
                   {"path", path},
                   {"type", stringValue(acl->aclType()).view()},
                   {"name", acl->cliName().view()},
                   {"rules", rules}});
    } else {
      output.line("{} {} {} {}: {}", file.name, path, stringValue(acl->aclType()).view(), acl->cliName().view(),
                  counted(rules, "rule"));
    }
  }
}

Exit load(LoadOptions options, Output& output) {
  options.read.loosens |= options.prints;  // flags are no part of the lines
  Refusals refusals(options.skips);
  Loader loader(options.prints ? Expand::show : options.expands ? Expand::write : Expand::refuse, refusals);
  for (std::string const& file : options.files) {
    LoadedFile const& loaded = loader.add(options.readFile(file, refusals));
    if (options.prints) {
      appendCanonicalLines(output.text(), loaded, refusals, [&] { output.lineDone(); });
    } else if (!options.isText) {
      tell(loaded, options.isJson, output);
    }
  }
  if (options.isText) {
    appendTreeText(output.text(), loader.tree(), [&] { output.lineDone(); });
  }
  options.tell(refusals);
  return Exit::done;
}

}  // namespace

Run declareLoad(CLI::App& app) {
  auto const options = std::make_shared<LoadOptions>();
  app.add_option("FILE", options->files, sourceHelp)->required();
  options->declare(app);
  app.add_flag("--expand", options->expands, "Write a rule as several exact ones under its number where it takes that");
  auto* const print = app.add_flag("--print", options->prints, "Print each rule as its canonical line, nothing else");
  auto* const text =
      app.add_flag("--text", options->isText, "Print the tree as text that can be loaded again")->excludes(print);
  app.add_flag("--json", options->isJson, "Tell each ACL as an object on a line")->excludes(print)->excludes(text);
  return [options](Output& output) { return load(*options, output); };
}

}  // namespace Tools
