// dump: a recorded stream message by message, read by what shares nothing with the library's own reader.
#include "tools/common/BadData.h"
#include "tools/common/Files.h"
#include "tools/common/SecondReader.h"
#include "tools/vornacl/Verbs.h"

namespace Tools {

namespace {

Exit dump(std::string const& path, Output& output) {
  File const file = openFile(path, "rb");
  Second::Tree tree;
  tree.judgesApplied = false;  // what the other end wrote is not recorded
  Second::Reader reader{tree, 0, {}, {}, {}, 0};
  std::string bytes(1 << 16, '\0');
  while (std::size_t const length = std::fread(bytes.data(), 1, bytes.size(), file.get())) {
    reader.feed(std::string_view(bytes).substr(0, length));
    for (std::string const& line : reader.lines) {
      output.line("{}", line);
    }
    reader.lines.clear();
    if (!reader.error.empty()) {
      throw BadData({path}, reader.error);
    }
  }
  if (std::ferror(file.get()) != 0) {
    throw BadData({path}, "cannot be read");
  }
  if (!reader.pending.empty() || reader.offset == 0) {
    throw BadData({path}, fmt::format("found the end of the file in the message at byte {}", reader.offset));
  }
  return Exit::done;
}

}  // namespace

Run declareDump(CLI::App& app) {
  auto const path = std::make_shared<std::string>();
  app.add_option("FILE", *path, "What record has written")->required();
  app.footer("A message is a line: (ENTITY,ATTRIBUTE,FLAG,SIZE,CODE) and what it says.");
  return [path](Output& output) { return dump(*path, output); };
}

}  // namespace Tools
