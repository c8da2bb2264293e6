// serve: holds a tree and streams it to any number of peers.
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/net/Merge.h"
#include "tools/vornacl/net/Server.h"
#include "tools/vornacl/net/Signals.h"
#include "tools/vornacl/net/Upstream.h"
#include "tools/vornacl/rules/Loader.h"
#include "tools/vornacl/verbs/FileOptions.h"

namespace Tools {

namespace {

struct ServeOptions : FileOptions {
  std::vector<std::string> files;
  std::string listen;
  std::string from;
  bool expands = false;
  bool isReadOnly = false;

  Connection::Access access() const {
    return isReadOnly ? Connection::Access::readOnly : Connection::Access::readWrite;
  }
};

Tree load(ServeOptions const& options) {
  Refusals refusals(options.skips);
  Loader loader(options.expands ? Expand::write : Expand::refuse, refusals);
  for (std::string const& file : options.files) {
    loader.add(options.readFile(file, refusals));
  }
  options.tell(refusals);
  return loader.tree();
}

std::string rulesOf(Tree const& tree) {
  std::size_t rules = 0;
  for (auto const& acl : aclsOf(tree)) {
    rules += ruleCountOf(*acl);
  }
  return counted(rules, "rule");
}

/// What the files say now becomes the tree; files that cannot be read leave it as it is.
void reload(ServeOptions const& options, Tree const& tree) {
  try {
    merge(tree, load(options));
    message("read again: " + rulesOf(tree));
  } catch (std::exception const& error) {
    message(std::string("not read again: ") + error.what());
  }
}

Exit serve(ServeOptions const& options) {
  Tree const tree = load(options);
  Signals signals;
  Server server(Address::of(options.listen), options.access());
  server.treeIs(tree);
  message("listening on " + server.listener().text() + " with " + rulesOf(tree));
  while (!signals.isEnd()) {
    std::vector<pollfd> events;
    server.addEvents(events);
    signals.wait(events, std::nullopt);
    if (signals.takeReload()) {
      reload(options, tree);
    }
    server.handle();
  }
  return Exit::done;
}

Exit relay(ServeOptions const& options) {
  Signals signals;
  Upstream upstream(Address::of(options.from));
  Server server(Address::of(options.listen), options.access());
  message("listening on " + server.listener().text() + " for what comes from " + options.from);
  while (!signals.isEnd()) {
    upstream.handle();
    // A peer that came earlier would take an unfinished tree for the whole, and lose what is missing in it.
    server.isOpenIs(upstream.isInSync());
    if (upstream.isInSync()) {
      server.treeIs(upstream.tree());
    }
    server.handle();
    std::vector<pollfd> events;
    upstream.addEvents(events);
    server.addEvents(events);
    signals.wait(events, upstream.patience());
  }
  return Exit::done;
}

}  // namespace

Run declareServe(CLI::App& app) {
  auto const options = std::make_shared<ServeOptions>();
  auto* const files = app.add_option("FILE", options->files, "Files of rules; without any the tree is empty");
  app.add_option("--listen", options->listen, "Where peers connect: unix:PATH or tcp:HOST:PORT")
      ->type_name("ADDRESS")
      ->required();
  app.add_option("--from", options->from, "Serve the tree of another process instead of files")
      ->type_name("ADDRESS")
      ->excludes(files);
  app.add_flag("--read-only", options->isReadOnly, "Take no change of a peer");
  options->declare(app);
  app.add_flag("--expand", options->expands, "Write a rule as several exact ones under its number where it takes that");
  app.footer(
      "Serves until SIGTERM or SIGINT. SIGHUP reads the files again: the tree becomes what they say, and peers are\n"
      "told the difference. With --from, peers are taken while the other process is reached and its tree is whole; "
      "when\n"
      "it is lost, those that are there keep what they have until it comes again.");
  return [options](Output&) { return options->from.empty() ? serve(*options) : relay(*options); };
}

}  // namespace Tools
