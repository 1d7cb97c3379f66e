#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <unordered_map>

#include "classxml/archive/detail/Polymorphic.h"

namespace classxml::archive_detail {

// What the objects shared_ptrs share were saved as, and what they came back as: by the address
// of the whole object, and by the number the save gave it.
struct SavedObjects {
    std::unordered_map<const void*, std::uint64_t> ids;
};
struct LoadedObjects {
    struct Object {
        std::shared_ptr<void> object;      // the whole object
        const PolymorphicType* type;       // when registered: finds any of its bases
        const std::type_info* pointerType; // the type it was loaded as
    };
    std::unordered_map<std::string, Object> byId;
};

} // namespace classxml::archive_detail
