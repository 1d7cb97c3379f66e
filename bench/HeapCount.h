#pragma once

#include <cstddef>

// The program's C++ heap, counted: every allocation through operator new, the library's and
// Xerces' (whose memory manager allocates with it) included. Exact where the resident size,
// which the system updates in batches and which counts the pages of the code run, is not.
namespace classxml::bench::heap {

// The bytes allocated and not yet freed.
std::size_t Live();
// The most that has been live since the last RestartPeak.
std::size_t Peak();
void RestartPeak();

} // namespace classxml::bench::heap
