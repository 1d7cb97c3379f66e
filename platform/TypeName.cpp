#include "classxml/platform/TypeName.h"

#include <cstdlib>
#include <memory>

#if defined(__GNUG__)
#include <cxxabi.h>
#endif

namespace classxml::platform {

std::string ReadableTypeName(const char* name) {
#if defined(__GNUG__)
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> readable(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
    if (status == 0 && readable) return readable.get();
#endif
    return name;
}

} // namespace classxml::platform
