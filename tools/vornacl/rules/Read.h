// Reads files of rules, whatever their form.
#pragma once

#include <string>

#include "tools/vornacl/rules/Refusals.h"
#include "tools/vornacl/rules/Rule.h"

namespace Tools {

struct ReadOptions {
  /// Of which form files are; found out from their text without it.
  std::optional<Form> form;
  /// Take filters whose flags cannot be matched exactly, without what a filter cannot hold of these.
  bool loosens = false;
};

/// The names of the forms, for people and options.
struct NamedForm {
  char const* name;
  Form form;
};
inline constexpr NamedForm formNames[] = {
    {"classbench", Form::classBench},
    {"accesslist", Form::accessList},
    {"packetfilter", Form::packetFilter},
    {"tree", Form::tree},
};
char const* nameOf(Form form);

/// The name that stands for standard input.
inline constexpr char const* standardInput = "-";

/// The whole text of a file. Throws `std::system_error`, and `BadData` for a folder and for a text with NUL bytes.
std::string readText(std::string const& path);

/// Reads the rules of a text; `name` is what errors call it. Throws `BadData`. Filters that are loosened are told in
/// `notes`.
RuleSet readRules(std::string_view text, std::string const& name, ReadOptions const& options, Refusals& refusals,
                  std::vector<std::string>& notes);
/// The same of a file; throws also as `readText`.
RuleSet readFileOfRules(std::string const& path, ReadOptions const& options, Refusals& refusals,
                        std::vector<std::string>& notes);

}  // namespace Tools
