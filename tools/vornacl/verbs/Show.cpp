// show: a tree of another process, or a part of it.
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/verbs/LiveOptions.h"
#include "tools/vornacl/verbs/TreeView.h"

namespace Tools {

namespace {

struct ShowOptions : LiveOptions {
  TreeView view;
};

}  // namespace

Run declareShow(CLI::App& app) {
  auto const options = std::make_shared<ShowOptions>();
  options->declare(app);
  options->view.declare(app);
  return [options](Output& output) {
    LiveTree const live = options->connect();
    options->view.tell(live.tree(), output);
    return Exit::done;
  };
}

}  // namespace Tools
