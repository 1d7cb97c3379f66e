#pragma once

#include <cstdint>
#include <filesystem>

#include "classxml/BasicString.h"

// The plain side of the file benchmarks: positional reads and writes in 1 MiB blocks, the
// system calls behind read() and write().
namespace classxml::bench {

CBasicString<WideChar> Wide(const std::filesystem::path& path);
// Reads the whole file; returns its length.
std::int64_t ReadPlain(const std::filesystem::path& file);
void CopyPlain(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace classxml::bench
