#pragma once

#include <cstdint>

#include "classxml/platform/Export.h"

namespace classxml::platform {

// The most memory the process has had resident so far, in bytes.
CLASSXML_API std::uint64_t PeakResidentBytes();

} // namespace classxml::platform
