// watch: tells each change of the tree of another process.
#include <ctime>
#include <limits>

#include <nlohmann/json.hpp>

#include "runtime/tree/TreeObserver.h"
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/net/Signals.h"
#include "tools/vornacl/net/Upstream.h"
#include "tools/vornacl/rules/Describe.h"
#include "tools/vornacl/verbs/LiveOptions.h"

namespace Tools {

namespace {

using Kind = Kro::TreeChange::Kind;

struct WatchOptions : LiveOptions {
  std::string path;
  std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
  bool isJson = false;
};

/// As 2024-02-29T12:00:00.123Z.
std::string timeText() {
  auto const now = std::chrono::system_clock::now().time_since_epoch();
  auto const seconds = std::chrono::floor<std::chrono::seconds>(now);
  std::time_t const time = seconds.count();
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[32] = "";
  std::strftime(text, sizeof text, "%FT%T", &parts);
  return fmt::format("{}.{:03}Z", text, std::chrono::floor<std::chrono::milliseconds>(now - seconds).count());
}

/// A key or value for people.
std::string textOf(Kro::TreeChange const& change, Kro::TreeValue const& value) {
  if (auto const* const position = value.as<Vorn::AceIndex>()) {
    return positionText(*position);
  }
  auto const* const acl = change.of<Vorn::VornAcl>();
  if (auto const* const rule = value.as<Vorn::IpRuleConfig>(); rule != nullptr && acl != nullptr) {
    return describe(IpRule::of(*rule, familyOf(acl->aclType())));
  }
  if (auto const* const rule = value.as<Vorn::MacRuleConfig>()) {
    return describe(MacRule{*rule, 0xffff});
  }
  return std::string(value.text().view());
}

/// Follows the tree that there is, and writes what changes in it.
class Watcher {
 public:
  Watcher(WatchOptions const& options, Output& output) : options_(options), output_(output) {}

  bool isDone() const { return told_ >= options_.count; }
  void treeIs(Tree const& tree) {
    if (tree != tree_) {
      tree_ = tree;
      observer_.emplace(tree, [this](Kro::TreeChange const& change) { take(change); });
    }
  }

 private:
  void take(Kro::TreeChange const& change) {
    if (!isDone() && isWithin(change.path.view(), options_.path)) {
      ++told_;
      options_.isJson ? tellJson(change) : tellText(change);
    }
  }
  void tellText(Kro::TreeChange const& change) {
    static constexpr struct { char const *sign, *color; } looks[] = {{"+", "32"}, {"~", "33"}, {"-", "31"}};
    auto const& look = looks[static_cast<std::size_t>(change.kind)];
    std::string line = fmt::format("{} {} {}", look.sign, change.path.view(), change.attribute);
    if (change.key) {
      line += "[" + textOf(change, change.key) + "]";
    }
    if (change.before) {
      line += " " + textOf(change, change.before);
    }
    if (change.now) {
      line += (change.before ? " -> " : " ") + textOf(change, change.now);
    }
    output_.line("{} {}", timeText(), output_.colored(line, look.color));
  }
  void tellJson(Kro::TreeChange const& change) {
    static constexpr char const* names[] = {"added", "changed", "removed"};
    nlohmann::ordered_json object = {{"event", names[static_cast<std::size_t>(change.kind)]},
                                     {"time", timeText()},
                                     {"path", change.path.view()},
                                     {"attribute", change.attribute}};
    auto const add = [&](char const* name, Kro::TreeValue const& value) {
      if (value) {
        object[name] = value.text().view();
      }
    };
    add("key", change.key);
    add("before", change.before);
    add("now", change.now);
    output_.json(object);
  }

  WatchOptions const& options_;
  Output& output_;
  Tree tree_;
  std::optional<Kro::TreeObserver> observer_;
  std::uint64_t told_ = 0;
};

Exit watch(WatchOptions const& options, Output& output) {
  Address const address = Address::of(options.address);
  connectTo(address, options.patience());  // nobody there from the beginning is an error, and not waited for
  Signals signals;
  Upstream upstream(address);
  Watcher watcher(options, output);
  while (!signals.isEnd() && !watcher.isDone()) {
    upstream.handle();
    if (upstream.isInSync()) {
      watcher.treeIs(upstream.tree());
    }
    output.flush();
    if (!watcher.isDone()) {
      std::vector<pollfd> events;
      upstream.addEvents(events);
      signals.wait(events, upstream.patience());
    }
  }
  return Exit::done;
}

}  // namespace

Run declareWatch(CLI::App& app) {
  auto const options = std::make_shared<WatchOptions>();
  options->declare(app);
  app.add_option("PATH", options->path, "Only what is at this path and below it");
  app.add_option("--count", options->count, "End after so many changes")->type_name("N");
  app.add_flag("--json", options->isJson, "Tell each change as an object on a line");
  app.footer(
      "A change is a line: the time, \"+\" for what was added, \"-\" for what was removed, \"~\" for another value,\n"
      "the entity's path, the attribute with its key, the old value and the new one. What is there at the beginning "
      "is\n"
      "not told. When the process is lost it is tried again, and the difference is told. Ends at SIGTERM or SIGINT.");
  return [options](Output& output) { return watch(*options, output); };
}

}  // namespace Tools
