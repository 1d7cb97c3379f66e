#include "classxml/compat/AttributeValues.h"

#include <algorithm>

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::compat {
namespace {

using dtd_declarations::Attribute;
using Type = Attribute::Type;

std::vector<std::string_view> Tokens(std::string_view value) {
    std::vector<std::string_view> tokens;
    for (std::size_t at = 0; at <= value.size();) {
        const std::size_t end = std::min(value.find(' ', at), value.size());
        tokens.push_back(value.substr(at, end - at));
        at = end + 1;
    }
    return tokens;
}

bool IsName(std::string_view token) { return xml_text::IsName(platform::Utf8ToUtf16(token)); }

// A name token: name characters only, any of them first. "_" makes any of them a valid start.
bool IsNameToken(std::string_view token) {
    return !token.empty() && IsName("_" + std::string(token));
}

template <class Check>
bool EachToken(std::string_view value, const Check& check) {
    const auto tokens = Tokens(value);
    return std::all_of(tokens.begin(), tokens.end(), check);
}

} // namespace

bool Takes(const Attribute& attribute, std::string_view value) {
    if (attribute.presence == Attribute::Presence::Fixed && value != attribute.value) return false;
    switch (attribute.type) {
    case Type::CData:
        return true;
    case Type::NmToken:
        return IsNameToken(value);
    case Type::NmTokens:
        return EachToken(value, IsNameToken);
    case Type::Id:
    case Type::IdRef:
    case Type::Entity:
        return IsName(value);
    case Type::IdRefs:
    case Type::Entities:
        return EachToken(value, IsName);
    case Type::Notation:
    case Type::Enumeration:
        return std::find(attribute.values.begin(), attribute.values.end(), value) !=
               attribute.values.end();
    }
    return false;
}

std::vector<std::string> Samples(const Attribute& older, const Attribute& newer) {
    if (older.presence == Attribute::Presence::Fixed) return {older.value};
    if (older.type == Type::Enumeration || older.type == Type::Notation) return older.values;
    std::vector<std::string> samples = {"x", "1", "x y", "1 2", "", "-"};
    // A name outside the newer choices: one of x0 .. xN is not among N choices.
    for (std::size_t n = 0; n <= newer.values.size(); ++n)
        samples.push_back("x" + std::to_string(n));
    if (newer.presence == Attribute::Presence::Fixed) samples.push_back(newer.value + "x");
    std::erase_if(samples, [&](const std::string& sample) { return !Takes(older, sample); });
    return samples;
}

std::string AnyValue(const Attribute& attribute) {
    if (attribute.presence == Attribute::Presence::Fixed) return attribute.value;
    if (!attribute.values.empty()) return attribute.values.front();
    return "x";
}

} // namespace classxml::compat
