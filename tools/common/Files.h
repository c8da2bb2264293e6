// Files as a whole.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace Tools {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
/// An open file, closed with its owner.
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file as `fopen` does. Throws `std::system_error` that names it.
File openFile(std::string const& path, char const* mode);

/// All text of an open file, which errors call `path`. Throws `std::system_error`, and `BadData` for a line of more
/// than a million bytes, before more of it fills the memory.
std::string readAll(std::FILE* file, std::string const& path);
/// All text of a file. Throws as `readAll`; the `std::system_error` names it.
std::string readFile(std::string const& path);

}  // namespace Tools
