// Property elements: the generic writers and readers, and every typed member as a forward to
// the one conversion of its value type.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <algorithm>
#include <type_traits>

#include "classxml/platform/Utf.h"
#include "classxml/valuetext/ValueText.h"

using classxml::value_text::Codec;

CXMLClassReaderWriter::View CXMLClassReaderWriter::GetTrueOrFalse(bool value) const {
    return value ? View(WIDE("true")) : View(WIDE("false"));
}

CXMLClassReaderWriter::AttributeMap
CXMLClassReaderWriter::PropertyAttributes(View const& type) const {
    if (!mb_typeCheck) return {};
    return {{KEY_TYPE, type}};
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddProperty(View const& name, View const& type,
                                                         View const& value) {
    return AppendElement(name, PropertyAttributes(type), value);
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddCDATAProperty(View const& name, View const& type,
                                                              View const& value) {
    return AppendCDATAElement(name, PropertyAttributes(type), value);
}

CXMLClassReaderWriter
CXMLClassReaderWriter::AddUTF8Property(View const& name, View const& type,
                                       CBasicStringView<char8_t> const& value) const {
    return AddElementAttributesContentAsUTF8(name, PropertyAttributes(type), value);
}

// Tests the current element only and never moves; fills the name, attribute and content caches.
const CBasicString<WideChar>* CXMLClassReaderWriter::LookUpProperty(View const& name,
                                                                    View const& type) {
    if (!msp_xmlIO || !mp_document || !mp_element) return nullptr;
    if (GetElementName() != name) return nullptr;
    if (mb_typeCheck && GetAttributeValue(KEY_TYPE) != type) return nullptr;
    return &GetContent();
}

template <class Char>
bool CXMLClassReaderWriter::CopyToNewArray(CBasicStringView<Char> text, Char** array,
                                           std::size_t& length) {
    if (text.empty()) return true; // found but empty: no array
    *array = new Char[text.size() + 1];
    std::copy(text.begin(), text.end(), *array);
    (*array)[text.size()] = 0;
    length = text.size();
    return true;
}

bool CXMLClassReaderWriter::GetProperty(View const& name, View const& type,
                                        CBasicString<WideChar>& value) {
    const CBasicString<WideChar>* content = LookUpProperty(name, type);
    if (!content) return false;
    value = *content;
    return true;
}

bool CXMLClassReaderWriter::GetProperty(View const& name, View const& type, WideChar** value,
                                        std::size_t& length) {
    *value = nullptr;
    length = 0;
    const CBasicString<WideChar>* content = LookUpProperty(name, type);
    return content && CopyToNewArray(View(*content), value, length);
}

bool CXMLClassReaderWriter::GetPropertyUTF8(View const& name, View const& type,
                                            CBasicString<char8_t>& value) {
    const CBasicString<WideChar>* content = LookUpProperty(name, type);
    if (!content) return false;
    value = classxml::platform::Utf16ToUtf8(*content);
    return true;
}

bool CXMLClassReaderWriter::GetPropertyUTF8(View const& name, View const& type, char8_t** value,
                                            std::size_t& length) {
    *value = nullptr;
    length = 0;
    const CBasicString<WideChar>* content = LookUpProperty(name, type);
    if (!content) return false;
    const CBasicString<char8_t> utf8 = classxml::platform::Utf16ToUtf8(*content);
    return CopyToNewArray(CBasicStringView<char8_t>(utf8), value, length);
}

bool CXMLClassReaderWriter::IsVariableName(View const& name) {
    if (name.empty() && (!msp_xmlIO || !HasAttribute(VAR_NAME))) return true;
    if (!mb_typeCheck) return true;
    return GetAttributeValue(VAR_NAME) == name;
}

template <class Value>
CXMLClassReaderWriter CXMLClassReaderWriter::AddValueProperty(View const& name, View const& type,
                                                              Value value) const {
    if constexpr (std::is_same_v<Value, bool>) {
        return AppendElement(name, PropertyAttributes(type), GetTrueOrFalse(value));
    } else {
        const auto text = Codec<Value>::Format(value);
        return AppendElement(name, PropertyAttributes(type), text.view());
    }
}

template <class Value>
bool CXMLClassReaderWriter::GetValueProperty(View const& name, View const& type, Value& value) {
    const CBasicString<WideChar>* content = LookUpProperty(name, type);
    if (!content) return false;
    if constexpr (std::is_same_v<Value, bool>) {
        const std::optional<bool> parsed = classxml::value_text::ParseBool(*content);
        if (!parsed) return false; // found, but neither "true" nor "false": value untouched
        value = *parsed;
    } else {
        value = Codec<Value>::Parse(*content);
    }
    return true;
}

// One line per member, in the order of the family table. A family with all five variants of
// writer and reader is one VALUE_FAMILY row.
#define VALUE_WRITER(Member, Value)                                                                \
    CXMLClassReaderWriter CXMLClassReaderWriter::Member(View const& name, View const& type,        \
                                                        Value value) {                             \
        return AddValueProperty(name, type, value);                                                \
    }
#define VALUE_READER(Member, Value)                                                                \
    bool CXMLClassReaderWriter::Member(View const& name, View const& type, Value& value) {         \
        return GetValueProperty(name, type, value);                                                \
    }
#define VALUE_FAMILY(Stem, Value)                                                                  \
    VALUE_WRITER(Add##Stem##Property, Value)                                                       \
    VALUE_WRITER(Add##Stem##LISTProperty, Value)                                                   \
    VALUE_WRITER(Add##Stem##SETProperty, Value)                                                    \
    VALUE_WRITER(Add##Stem##VECTORProperty, Value)                                                 \
    VALUE_WRITER(Add##Stem##MAPProperty, Value)                                                    \
    VALUE_READER(Get##Stem##Property, Value)                                                       \
    VALUE_READER(Get##Stem##LISTProperty, Value)                                                   \
    VALUE_READER(Get##Stem##SETProperty, Value)                                                    \
    VALUE_READER(Get##Stem##VECTORProperty, Value)                                                 \
    VALUE_READER(Get##Stem##MAPProperty, Value)
#define STRING_WRITER(Member, Generic)                                                             \
    CXMLClassReaderWriter CXMLClassReaderWriter::Member(View const& name, View const& type,        \
                                                        View const& value) {                       \
        return Generic(name, type, value);                                                         \
    }
#define STRING_READER(Member)                                                                      \
    bool CXMLClassReaderWriter::Member(View const& name, View const& type, WideChar** value,       \
                                       std::size_t& length) {                                      \
        return GetProperty(name, type, value, length);                                             \
    }
#define STRING_WRITERS(Stem, Generic)                                                              \
    STRING_WRITER(Add##Stem##Property, Generic)                                                    \
    STRING_WRITER(Add##Stem##LISTProperty, Generic)                                                \
    STRING_WRITER(Add##Stem##SETProperty, Generic)                                                 \
    STRING_WRITER(Add##Stem##VECTORProperty, Generic)                                              \
    STRING_WRITER(Add##Stem##MAPProperty, Generic)
#define STRING_READERS(Stem)                                                                       \
    STRING_READER(Get##Stem##Property)                                                             \
    STRING_READER(Get##Stem##LISTProperty)                                                         \
    STRING_READER(Get##Stem##SETProperty)                                                          \
    STRING_READER(Get##Stem##VECTORProperty)                                                       \
    STRING_READER(Get##Stem##MAPProperty)

// clang-format off
VALUE_FAMILY(int, int)
VALUE_FAMILY(long, std::int32_t)
VALUE_FAMILY(UINT, UINT)
VALUE_FAMILY(DWORD, DWORD)
VALUE_WRITER(AddUlongProperty, std::uint32_t)
VALUE_READER(GetUlongProperty, std::uint32_t)
VALUE_FAMILY(__int64, std::int64_t)
VALUE_FAMILY(time_t, std::int64_t)
VALUE_WRITER(AddDWORD64Property, DWORD64)
VALUE_WRITER(AddDWORD64MAPProperty, DWORD64)
VALUE_READER(GetDWORD64Property, DWORD64)
VALUE_WRITER(AddDB_IDLISTProperty, DB_ID)
VALUE_WRITER(AddDB_IDSETProperty, DB_ID)
VALUE_WRITER(AddDB_IDMAPProperty, DB_ID)
VALUE_READER(GetDB_IDProperty, DB_ID)
VALUE_READER(GetDB_GROUP_IDProperty, DB_GROUP_ID)
VALUE_READER(GetDB_USER_IDProperty, DB_USER_ID)
VALUE_FAMILY(bool, bool)
VALUE_FAMILY(double, double)
VALUE_WRITER(AddDB_TIME_TYPEProperty, DB_TIME_TYPE)
VALUE_WRITER(AddDB_TIME_TYPEMAPProperty, DB_TIME_TYPE)
VALUE_READER(GetDB_TIME_TYPEProperty, DB_TIME_TYPE)
VALUE_WRITER(AddDB_UTC_TIME_TYPEProperty, DB_UTC_TIME_TYPE)
VALUE_READER(GetDB_UTC_TIME_TYPEProperty, DB_UTC_TIME_TYPE)
VALUE_WRITER(AddDB_VERSIONNUMBERProperty, DB_VERSIONNUMBER)
VALUE_WRITER(AddDB_VERSIONNUMBERLISTProperty, DB_VERSIONNUMBER)
VALUE_WRITER(AddDB_VERSIONNUMBERSETProperty, DB_VERSIONNUMBER)
VALUE_WRITER(AddDB_VERSIONNUMBERMAPProperty, DB_VERSIONNUMBER)
VALUE_READER(GetDB_VERSIONNUMBERProperty, DB_VERSIONNUMBER)
STRING_WRITERS(AlpTString, AddProperty)
STRING_READERS(AlpTString)
STRING_WRITERS(ENUM, AddProperty)
STRING_READERS(ENUM)
STRING_WRITERS(UnilexString, AddProperty)
STRING_READERS(UnilexString)
STRING_READERS(CSortString)
STRING_WRITERS(StringAsCDATA, AddCDATAProperty)
STRING_READER(GetStringAsCDATAProperty)
// clang-format on

// The two const writers.
CXMLClassReaderWriter CXMLClassReaderWriter::AddDB_IDProperty(View const& name, View const& type,
                                                              DB_ID value) const {
    return AddValueProperty(name, type, value);
}

CXMLClassReaderWriter
CXMLClassReaderWriter::AddCUTF8StringMAPProperty(View const& name, View const& type,
                                                 CBasicStringView<char8_t> const& value) const {
    return AddUTF8Property(name, type, value);
}

bool CXMLClassReaderWriter::GetCUTF8StringProperty(View const& name, View const& type,
                                                   char8_t** value, std::size_t& length) {
    return GetPropertyUTF8(name, type, value, length);
}
