// record: writes down what a process sends.
#include <cerrno>
#include <system_error>

#include "tools/common/Files.h"
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/net/Signals.h"
#include "tools/vornacl/verbs/LiveOptions.h"

namespace Tools {

namespace {

struct RecordOptions : LiveOptions {
  std::string file;
  std::optional<double> duration;
};

Exit record(RecordOptions const& options) {
  // An end of its own says what a process waits for: the preface, and what was applied.
  Link link(Connection::Role::opener, connectTo(Address::of(options.address), options.patience()));
  File const file = openFile(options.file, "wb");
  link.stream.onReceivedIs([&](std::span<std::uint8_t const> bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() || std::fflush(file.get()) != 0) {
      throw Failure(Exit::cannotWrite, options.file + ": " + std::generic_category().message(errno));
    }
  });
  Signals signals;
  auto const end = LiveTree::Clock::now() + LiveOptions::patienceOf(options.duration.value_or(0));
  auto const timeLeft = [&] { return options.duration ? std::optional(timeUntil(end)) : std::nullopt; };
  while (link.stream.isOpen() && !signals.isEnd() && timeLeft() != std::chrono::milliseconds(0)) {
    std::vector<pollfd> events{link.event()};
    signals.wait(events, timeLeft());
    link.stream.move();
  }
  if (link.stream.state() == SocketLink::State::failed) {
    throw Failure(Exit::badData, options.address + ": " + link.stream.reason());
  }
  message(counted(link.connection().stats().messagesReceived, "message") + " recorded");
  return link.stream.isOpen() ? Exit::done : Exit::noConnection;
}

}  // namespace

Run declareRecord(CLI::App& app) {
  auto const options = std::make_shared<RecordOptions>();
  options->declare(app);
  app.add_option("FILE", options->file, "Where to write it")->required();
  app.add_option("--for", options->duration, "End after so long, instead of at SIGTERM or SIGINT")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 1e9).description(""));
  app.footer("Status 3 if the process ends the stream before.");
  return [options](Output&) { return record(*options); };
}

}  // namespace Tools
