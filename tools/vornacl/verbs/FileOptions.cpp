#include "tools/vornacl/verbs/FileOptions.h"

#include "tools/vornacl/Output.h"
#include "tools/vornacl/rules/TreeReader.h"
#include "tools/vornacl/verbs/LiveOptions.h"

namespace Tools {

namespace {

/// The names of the forms with commas between.
std::string formList() {
  std::string list;
  for (NamedForm const& named : formNames) {
    list.append(list.empty() ? "" : ", ").append(named.name);
  }
  return list;
}

}  // namespace

void FileOptions::declare(CLI::App& app) {
  std::map<std::string, Form> forms;
  for (NamedForm const& named : formNames) {
    forms.emplace(named.name, named.form);
  }
  app.add_option("--form", read.form, "The form of the files, found out from each file without this: " + formList())
      ->transform(CLI::CheckedTransformer(forms).description(""))
      ->type_name("FORM");
  app.add_flag("--skip", skips,
               "Leave out rules that cannot be held exactly, and list them; without this the first ends the run");
  app.add_flag(
      "--loosen", read.loosens,
      "Of the flags of ClassBench filters, match those that a rule of the model can, and tell which it cannot");
  LiveOptions::declareTimeout(app, seconds);
}

RuleSet FileOptions::readFile(std::string const& path, Refusals& refusals) const {
  if (Address::isMeant(path)) {
    return ruleSetOf(LiveTree(Address::of(path), LiveOptions::patienceOf(seconds)).tree(), path);
  }
  std::vector<std::string> notes;
  RuleSet set = readFileOfRules(path, read, refusals, notes);
  for (std::string const& note : notes) {
    message(note);
  }
  return set;
}

void FileOptions::tell(Refusals const& refusals) const {
  std::size_t const count = refusals.all().size();
  for (Refusals::Refusal const& refusal : refusals.all()) {
    message(refusal.place.text() + ": left out: " + refusal.reason);
  }
  if (count > 0) {
    message(counted(count, "rule") + " left out");
  }
}

}  // namespace Tools
