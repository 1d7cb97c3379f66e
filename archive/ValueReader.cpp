#include "archive/ValueReader.h"

#include "XMLClassReaderWriter/ValueText.h"
#include "archive/WideText.h"

namespace classxml::archive_detail {
namespace {

// A found text for a message: quoted, and cut short when long.
std::string Quoted(CBasicStringView<WideChar> text) {
    constexpr std::size_t kShown = 40;
    return '"' + Utf8Of(text.substr(0, kShown)) + (text.size() > kShown ? "...\"" : "\"");
}

} // namespace

ValueReader::~ValueReader() = default;

template <class Value>
bool ValueReader::ReadValue(std::string_view type, Value& value) {
    const CBasicString<WideChar>* text = Content(type);
    if (!text) return false;
    const auto parsed = value_text::Codec<Value>::ParseExact(*text);
    if (!parsed) return Fail(std::string(type), Quoted(*text));
    value = *parsed;
    return true;
}

// One line per value type: each goes through the one conversion of its type.
#define CLASSXML_READ(Type)                                                                        \
    bool ValueReader::Read(std::string_view type, Type& value) { return ReadValue(type, value); }
CLASSXML_READ(std::int32_t)
CLASSXML_READ(std::int64_t)
CLASSXML_READ(std::uint32_t)
CLASSXML_READ(std::uint64_t)
CLASSXML_READ(bool)
CLASSXML_READ(double)
CLASSXML_READ(DB_ID)
CLASSXML_READ(DB_GROUP_ID)
CLASSXML_READ(DB_USER_ID)
CLASSXML_READ(DB_TIME_TYPE)
CLASSXML_READ(DB_UTC_TIME_TYPE)
CLASSXML_READ(DB_VERSIONNUMBER)
#undef CLASSXML_READ

bool ValueReader::Read(std::string_view type, std::string& value) {
    const CBasicString<WideChar>* text = Content(type);
    if (!text) return false;
    value = Utf8Of(AsWritten(*text));
    return true;
}

bool ValueReader::Read(std::string_view type, std::u16string& value) {
    const CBasicString<WideChar>* text = Content(type);
    if (!text) return false;
    const CBasicStringView<WideChar> written = AsWritten(*text);
    value.assign(written.begin(), written.end());
    return true;
}

bool ValueReader::Fail(std::string expected, std::string found, std::string_view leaf) {
    if (Failed()) return false;
    m_result.ok = false;
    m_result.path = m_path.Text(leaf);
    m_result.expected = std::move(expected);
    m_result.found = std::move(found);
    return false;
}

} // namespace classxml::archive_detail
