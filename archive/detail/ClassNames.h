#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <typeinfo>

#include "classxml/platform/Export.h"

// The C++ types that take each class element name in the program. Two classes of one name in
// two namespaces are two types a document cannot tell apart: a save that holds both, and a DTD
// of a model that holds both, fail naming them (CLASSXML_REGISTER_TYPE_AS gives one another
// name).
namespace classxml::archive_detail {

struct ClassName {
    std::atomic<bool> shared{false}; // taken by more than one type
};

// Notes that `type` is written as the class element `element`; every class the program saves
// does so as the program starts. The entry lives as long as the program.
CLASSXML_API const ClassName& TakeClassName(std::string_view element, const std::type_info& type);
// Two types of one name, for messages: "a::Item and b::Item".
CLASSXML_API std::string BothTypes(const std::type_info& one, const std::type_info& other);

} // namespace classxml::archive_detail
