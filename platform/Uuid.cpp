#include "classxml/platform/Uuid.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid.hpp>

#include "classxml/platform/PerThread.h"

namespace classxml::platform {

bool NewUuidText(CBasicString<WideChar>& text) {
    boost::uuids::uuid uuid{};
    try {
        uuid = PerThread<boost::uuids::random_generator>()();
    } catch (const std::exception&) {
        return false;
    }
    static constexpr char kHex[] = "0123456789ABCDEF";
    CBasicString<WideChar> formatted;
    formatted.reserve(36);
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) formatted.push_back('-');
        formatted.push_back(kHex[uuid.data[i] >> 4]);
        formatted.push_back(kHex[uuid.data[i] & 0xF]);
    }
    text = std::move(formatted);
    return true;
}

} // namespace classxml::platform
