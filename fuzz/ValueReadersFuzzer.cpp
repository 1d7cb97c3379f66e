// The integer, double, bool and version-number readers on arbitrary content, against a
// straightforward model of their rules written here from scratch.
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace {

using Handle = CXMLClassReaderWriter;
using Text = CBasicString<WideChar>;

// Whether XML 1.0 can carry the text: tab, line feed, carriage return, U+0020..U+D7FF,
// U+E000..U+FFFD and surrogates in pairs. The writers refuse anything else.
bool XmlCanCarry(const Text& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = static_cast<std::uint16_t>(text[i]);
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() &&
            static_cast<std::uint16_t>(text[i + 1]) >= 0xDC00 &&
            static_cast<std::uint16_t>(text[i + 1]) <= 0xDFFF) {
            ++i;
            continue;
        }
        const bool allowed = unit == 0x9 || unit == 0xA || unit == 0xD ||
                             (unit >= 0x20 && unit <= 0xD7FF) || (unit >= 0xE000 && unit <= 0xFFFD);
        if (!allowed) return false;
    }
    return true;
}

// What an element's content reads back as: the text with each line feed as CR LF.
Text Content(const Text& written) {
    Text content;
    for (const WideChar unit : written) {
        if (unit == '\n') content.push_back('\r');
        content.push_back(unit);
    }
    return content;
}

// Integers: an optional sign (signed types only), then digits known by their low byte.
template <class Number>
Number ModelInteger(const Text& text) {
    std::size_t i = 0;
    bool negative = false;
    if (std::numeric_limits<Number>::is_signed && i < text.size() &&
        (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    // All the digits, in 64 bits; anything beyond is out of every type's range.
    std::uint64_t magnitude = 0;
    bool beyond64Bits = false;
    std::size_t digits = 0;
    for (; i < text.size(); ++i, ++digits) {
        const unsigned low = static_cast<std::uint16_t>(text[i]) & 0xFF;
        if (low < '0' || low > '9') break;
        const std::uint64_t digit = low - '0';
        if (magnitude > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            beyond64Bits = true;
        magnitude = magnitude * 10 + digit;
    }
    if (digits == 0 || beyond64Bits) return 0;
    using Limits = std::numeric_limits<Number>;
    if (!negative) return magnitude > std::uint64_t(Limits::max()) ? 0 : Number(magnitude);
    // The most negative value's magnitude is one more than the largest value.
    const std::uint64_t mostNegative = std::uint64_t(Limits::max()) + 1;
    if (magnitude > mostNegative) return 0;
    return magnitude == mostNegative ? Limits::min()
                                     : Number(-static_cast<std::int64_t>(magnitude));
}

// Doubles: strtod on the ASCII prefix, minus what the general format does not take: leading
// blanks, a "+", hexadecimal; and 0 where the value is out of range.
double ModelDouble(const Text& text) {
    std::string ascii;
    for (const WideChar unit : text) {
        if (static_cast<std::uint16_t>(unit) >= 0x80) break;
        ascii.push_back(static_cast<char>(unit));
    }
    if (ascii.empty() || std::isspace(static_cast<unsigned char>(ascii[0])) || ascii[0] == '+')
        return 0.0;
    const std::size_t digits = ascii[0] == '-' ? 1 : 0;
    if (ascii.size() > digits + 1 && ascii[digits] == '0' && (ascii[digits + 1] | 0x20) == 'x')
        ascii.resize(digits + 1); // "0x..." reads as its "0"
    if (ascii.size() > digits && (ascii[digits] == '-' || ascii[digits] == '+' ||
                                  std::isspace(static_cast<unsigned char>(ascii[digits]))))
        return 0.0; // a second sign or a blank after "-"
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(ascii.c_str(), &end);
    if (end == ascii.c_str()) return 0.0;
    if (errno == ERANGE && (value == 0.0 || std::isinf(value))) return 0.0;
    return value;
}

std::optional<bool> ModelBool(const Text& text) {
    if (text == Text(WIDE("true"))) return true;
    if (text == Text(WIDE("false"))) return false;
    return std::nullopt;
}

bool Same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Text written(size / 2, WideChar(0));
    std::memcpy(written.data(), data, written.size() * sizeof(WideChar));
    // A lone byte stands for an ASCII character, so that short numbers are easy to reach.
    if (size % 2) written.push_back(static_cast<WideChar>(data[size - 1]));
    const Text content = Content(written);

    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    root.CreateDocument(WIDE("r"), {}, {});
    Handle element =
        root.AddElementAttributesContent(WIDE("p"), {{Handle::KEY_TYPE, WIDE("t")}}, written);
    FUZZ_CHECK(element.IsDefined() == XmlCanCarry(written));
    if (!element.IsDefined()) return root.ReleaseDocument(), 0;

    int int32 = -1;
    UINT uint32 = 1;
    std::int64_t int64 = -1;
    DWORD64 uint64 = 1;
    double real = -1;
    DB_VERSIONNUMBER version(-1);
    bool flag = true;
    FUZZ_CHECK(element.GetintProperty(WIDE("p"), WIDE("t"), int32));
    FUZZ_CHECK(element.GetUINTProperty(WIDE("p"), WIDE("t"), uint32));
    FUZZ_CHECK(element.Get__int64Property(WIDE("p"), WIDE("t"), int64));
    FUZZ_CHECK(element.GetDWORD64Property(WIDE("p"), WIDE("t"), uint64));
    FUZZ_CHECK(element.GetdoubleProperty(WIDE("p"), WIDE("t"), real));
    FUZZ_CHECK(element.GetDB_VERSIONNUMBERProperty(WIDE("p"), WIDE("t"), version));
    FUZZ_CHECK(int32 == ModelInteger<int>(content));
    FUZZ_CHECK(uint32 == ModelInteger<UINT>(content));
    FUZZ_CHECK(int64 == ModelInteger<std::int64_t>(content));
    FUZZ_CHECK(uint64 == ModelInteger<DWORD64>(content));
    FUZZ_CHECK(Same(real, ModelDouble(content)));
    FUZZ_CHECK(Same(version.get(), ModelDouble(content)));
    const std::optional<bool> expected = ModelBool(content);
    FUZZ_CHECK(element.GetboolProperty(WIDE("p"), WIDE("t"), flag) == expected.has_value());
    FUZZ_CHECK(flag == expected.value_or(true)); // untouched unless the text was a bool
    root.ReleaseDocument();
    return 0;
}
