// wait: until an attribute of another process has a value.
#include <charconv>

#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/LiveAttribute.h"

namespace Tools {

namespace {

enum class Compare { eq, ne, lt, le, gt, ge };

struct WaitOptions : AttributeOptions {
  Compare compare = Compare::eq;
  std::string value;
};

std::int64_t numberOf(std::string const& text) {
  std::int64_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw Failure(Exit::usage, "\"" + text + "\" is no number: eq and ne compare it");
  }
  return number;
}

bool holds(Compare compare, std::string const& is, std::string const& wanted) {
  switch (compare) {
    case Compare::eq:
      return is == wanted;
    case Compare::ne:
      return is != wanted;
    case Compare::lt:
      return numberOf(is) < numberOf(wanted);
    case Compare::le:
      return numberOf(is) <= numberOf(wanted);
    case Compare::gt:
      return numberOf(is) > numberOf(wanted);
    case Compare::ge:
      break;
  }
  return numberOf(is) >= numberOf(wanted);
}

/// Whether the condition holds now; not where what it is about is not there yet.
bool holds(WaitOptions const& options, Tree const& tree) {
  try {
    LiveAttribute const attribute(tree, options.path, options.attribute);
    return holds(options.compare, attribute.text(), attribute.canonical(options.value));
  } catch (Failure const& failure) {
    if (failure.exit() != Exit::notFound) {
      throw;
    }
    return false;
  }
}

Exit wait(WaitOptions const& options) {
  auto const end = LiveTree::Clock::now() + options.patience();
  LiveTree live = options.connect();
  if (!live.moveUntil([&] { return holds(options, live.tree()); }, end)) {
    message(options.address + ": it does not come to that in time");
    return Exit::timeout;
  }
  return Exit::done;
}

}  // namespace

Run declareWait(CLI::App& app) {
  static std::map<std::string, Compare> const operators = {
      {"eq", Compare::eq}, {"ne", Compare::ne}, {"lt", Compare::lt}, {"le", Compare::le},
      {"gt", Compare::gt}, {"ge", Compare::ge}, {"==", Compare::eq}, {"!=", Compare::ne},
      {"<", Compare::lt},  {"<=", Compare::le}, {">", Compare::gt},  {">=", Compare::ge}};
  auto const options = std::make_shared<WaitOptions>();
  options->declare(app);
  app.add_option("OP", options->compare, "eq, ne, lt, le, gt or ge; or the same as ==, !=, <, <=, > or >=")
      ->transform(CLI::CheckedTransformer(operators).description(""))
      ->required();
  app.add_option("VALUE", options->value, "In the form that get prints; lt, le, gt and ge compare numbers")->required();
  app.footer("An entity or member that is not there is waited for, too. Status 5 if it takes longer than --timeout.");
  return [options](Output&) { return wait(*options); };
}

}  // namespace Tools
