// Runs a fuzz target on the files of a folder: the corpus, and what was found once.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int main(int, char** arguments) {
  int runs = 0;
  for (auto const& file : std::filesystem::directory_iterator(arguments[1])) {
    std::ifstream input(file.path(), std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(input), {}};
    std::printf("%s\n", file.path().c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
    ++runs;
  }
  return runs > 0 ? 0 : 1;
}
