#include "tools/vornacl/rules/Read.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "tools/common/ClassBench.h"
#include "tools/common/Files.h"
#include "tools/vornacl/rules/AccessList.h"
#include "tools/vornacl/rules/PacketFilter.h"
#include "tools/vornacl/rules/TreeReader.h"

namespace Tools {

namespace {

std::optional<Form> formOf(std::string_view text) {
  std::size_t const start = text.find_first_not_of("\r\n");
  if (start != std::string_view::npos && text[start] == '@') {
    return Form::classBench;
  }
  if (text.starts_with(treeHead)) {
    return Form::tree;
  }
  if (isPacketFilter(text)) {
    return Form::packetFilter;
  }
  return hasAccessList(text) ? std::optional(Form::accessList) : std::nullopt;
}

/// The filter's rule as the file has it, with the flags that must be clear.
IpRule exactRule(ClassBenchFilter const& filter) {
  IpRule rule = IpRule::of(filter.rule, Dorix::IpFamily::ipv4);
  if (!filter.isExact) {
    rule.flags.set = static_cast<std::uint8_t>((filter.flags.value & filter.flags.mask) >> 8U);
    rule.flags.clear = static_cast<std::uint8_t>((~filter.flags.value & filter.flags.mask) >> 8U);
  }
  return rule;
}

/// Whether flags that must be set and flags that must be clear are all that the flags field says.
bool isOfFlags(ClassBenchFilter const& filter) {
  Vorn::IpFilter const& of = filter.rule.filter();
  return of.matchProto() && of.proto() == Dorix::ipProtoTcp && (filter.flags.mask & 0xffU) == 0;
}

RuleSet classBench(std::string_view text, std::string const& path, bool loosens, Refusals& refusals,
                   std::vector<std::string>& notes) {
  RuleSet set{path, Form::classBench, {{Acl::ip, std::filesystem::path(path).filename()}}, {}, {}, {}};
  auto const filters = readClassBench(text, path);
  for (std::uint32_t index = 1; ClassBenchFilter const& filter : filters) {
    Vorn::AceIndex const position(index++, 0, 0);
    if (loosens) {
      set.rules.push_back({0, position, filter.line, IpRule::of(filter.rule, Dorix::IpFamily::ipv4)});
    } else if (filter.isExact || isOfFlags(filter)) {
      set.rules.push_back({0, position, filter.line, exactRule(filter)});
    } else {
      refusals.add({path, filter.line, 0}, fmt::format("a filter has no place for flags 0x{:04x}/0x{:04x} here",
                                                       filter.flags.value, filter.flags.mask));
    }
  }
  if (loosens) {
    for (std::string const& loosened : loosenedFilters(filters)) {
      notes.push_back(path + ": " + loosened);
    }
  }
  return set;
}

}  // namespace

char const* nameOf(Form form) {
  auto const known =
      std::find_if(std::begin(formNames), std::end(formNames), [&](auto& named) { return named.form == form; });
  return known != std::end(formNames) ? known->name : "";
}

std::string readText(std::string const& path) {
  if (std::filesystem::is_directory(path)) {
    throw BadData({path}, "this is a folder");
  }
  std::string text = path == standardInput ? readAll(stdin, path) : readFile(path);
  if (std::size_t const at = text.find('\0'); at != std::string::npos) {
    auto const line =
        static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
    throw BadData({path, line + 1, at - (text.rfind('\n', at) + 1) + 1}, "found a NUL byte, expected a text");
  }
  return text;
}

RuleSet readRules(std::string_view text, std::string const& name, ReadOptions const& options, Refusals& refusals,
                  std::vector<std::string>& notes) {
  auto const form = options.form ? options.form : formOf(text);
  if (!form) {
    throw BadData({name}, text.empty() ? "this is empty" : "no form of rules begins so; --form names one");
  }
  switch (*form) {
    case Form::accessList:
      return readAccessLists(text, name, refusals);
    case Form::packetFilter:
      return readPacketFilter(text, name, refusals);
    case Form::tree:
      return readTree(text, name);
    case Form::classBench:
      break;
  }
  return classBench(text, name, options.loosens, refusals, notes);
}

RuleSet readFileOfRules(std::string const& path, ReadOptions const& options, Refusals& refusals,
                        std::vector<std::string>& notes) {
  return readRules(readText(path), path, options, refusals, notes);
}

}  // namespace Tools
