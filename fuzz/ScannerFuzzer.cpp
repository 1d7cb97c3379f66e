// The library's own scanner against the parser: the stream reader reads the same bytes with
// each, as UTF-8 and as UTF-16 text, and both must give the same events (texts joined, the text
// an error cuts off left out), the same verdict, and the same first error at the same line and
// column in the same words. Inputs that begin with 0xFE are also read as a program that writes
// a document of near-valid XML: each further byte picks a piece of markup, well-formed or a
// little broken, so that a few bytes reach the edges a scanner gets wrong.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/stream/StreamReader.h"
#include "support/Transcript.h"

namespace {

using classxml::StreamReader;
using classxml::testing::Transcript;

template <class Open>
void Compare(Open open) {
    StreamReader scanned, parsed;
    parsed.ReadWithParser();
    open(scanned);
    const std::string byScanner = Transcript(scanned);
    open(parsed);
    const std::string byParser = Transcript(parsed);
    if (byScanner != byParser)
        std::fprintf(stderr, "scanner:\n%s\nparser:\n%s\n", byScanner.c_str(), byParser.c_str());
    FUZZ_CHECK(byScanner == byParser);
}

// Near-valid XML from a program of bytes: each picks a piece.
std::string Generated(const std::uint8_t* data, std::size_t size) {
    static const char* const kPieces[] = {"<a>",
                                          "</a>",
                                          "<b x='1'>",
                                          "</b>",
                                          "<c/>",
                                          "<d y=\"2\" z='3'/>",
                                          "text",
                                          " ",
                                          "\r\n",
                                          "\r",
                                          "&amp;",
                                          "&lt;",
                                          "&#65;",
                                          "&#x10000;",
                                          "&#0;",
                                          "&bogus;",
                                          "<![CDATA[c]]>",
                                          "<![CDATA[",
                                          "]]>",
                                          "]]",
                                          "<!-- c -->",
                                          "<!--",
                                          "-->",
                                          "--",
                                          "<?p d?>",
                                          "<?xml v?>",
                                          "<?",
                                          "?>",
                                          "<",
                                          ">",
                                          "&",
                                          "&#",
                                          "\"",
                                          "'",
                                          "=",
                                          "/",
                                          "é",
                                          "\xF0\x90\x80\x80",
                                          "\xEF\xBF\xBE",
                                          "\x01",
                                          "<a b='<'/>",
                                          "<a b='&#10;\t'/>",
                                          "<a a='1' a='2'/>",
                                          "<a b='x'c='y'/>",
                                          "<1/>",
                                          "</>",
                                          "<a\n/>",
                                          "\xC3",
                                          "\xFF",
                                          "\xED\xA0\x80",
                                          "\0",
                                          "<a b=x/>",
                                          "<!DOCTYPE a>",
                                          "<?xml version='1.0'?>",
                                          "\xEF\xBB\xBF",
                                          "x]]>y",
                                          "<a b='",
                                          "'>",
                                          "&#x;",
                                          "&#X41;",
                                          "&#12a;",
                                          "<?xmlx?>",
                                          "<e></e >",
                                          "<e></e x>",
                                          "\xC2\x85",
                                          "\xE2\x80\xA8",
                                          "<?xml\n",
                                          "<?XML\r"};
    constexpr std::size_t kCount = sizeof kPieces / sizeof kPieces[0];
    std::string xml;
    for (std::size_t i = 1; i < size; ++i) {
        const char* piece = kPieces[data[i] % kCount];
        xml.append(piece, piece[0] == '\0' ? 1 : std::strlen(piece));
    }
    return xml;
}

void CheckBytes(const std::string& bytes) {
    Compare([&](StreamReader& reader) { reader.OpenString(std::string_view(bytes)); });
    CBasicString<WideChar> units(bytes.size() / 2, WideChar(0)); // the bytes may be unaligned
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(WideChar));
    Compare([&](StreamReader& reader) { reader.OpenString(CBasicStringView<WideChar>(units)); });
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    CXMLClassReaderWriter::SetDtdDirectory(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory()),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0 && data[0] == 0xFE) {
        const std::string xml = Generated(data, size);
        CheckBytes(xml);
        CheckBytes("<r>" + xml + "</r>");
    }
    CheckBytes(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
