// Arbitrary bytes read as a UTF-8 and as a UTF-16 document by the stream reader and by the DOM
// reader behind ReadFromString: both accept or both refuse, and what they accept is the same
// tree with the same text. Inputs that begin with a 0xFF byte are also read as a program that
// writes a document: each further byte is a piece of markup and how often it repeats, so that
// a few bytes reach the hundreds of elements, the nesting limit and the long texts that plain
// bytes of a fuzzer's length never do.
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/xmlio/XercesIO.h"
#include "support/TreeText.h"

namespace {

using classxml::StreamReader;
using classxml::testing::TreeOf;

template <class Parse, class Open>
void CheckAgreement(Parse parse, Open open) {
    CXercesIO dom;
    xercesc::DOMDocument* document = parse(dom);
    StreamReader reader;
    open(reader);
    const auto streamed = TreeOf(reader);
    FUZZ_CHECK((document != nullptr) == streamed.has_value());
    if (!document) return;
    FUZZ_CHECK(TreeOf(*document) == *streamed);
    dom.ReleaseDocument(document);
}

// The document a structured input describes: low nibble the piece, high nibble + 1 how often.
std::string Structured(const std::uint8_t* data, std::size_t size) {
    static const char* const kPieces[] = {
        "<e/>",       "<e a='1'/>",      "<d>",     "</d>",
        "<!-- c -->", "<![CDATA[<&>]]>", "&amp;",   "&#x41;",
        "text",       "<?pi data?>",     "&#xD;",   "<d k='v'>x</d>",
        "\r\n \t",    "&#x10000;",       "<e></e>", "<x:y xmlns:x='u'/>"};
    std::string xml = "<r>";
    for (std::size_t i = 1; i < size; ++i)
        for (int repeat = 0; repeat <= (data[i] >> 4) * (data[i] >> 4); ++repeat)
            xml += kPieces[data[i] & 0xF];
    return xml + "</r>";
}

void CheckUtf8(const std::string& xml) {
    const CBasicStringView<char8_t> utf8 = classxml::platform::AsUtf8(xml);
    CheckAgreement([&](CXercesIO& dom) { return dom.ParseUTF8String(utf8); },
                   [&](StreamReader& reader) { reader.OpenString(utf8); });
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    // DTDs a document names are looked up in an empty directory of the fuzzer's own.
    CXMLClassReaderWriter::SetDtdDirectory(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory()),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0 && data[0] == 0xFF) CheckUtf8(Structured(data, size));
    CheckUtf8(std::string(reinterpret_cast<const char*>(data), size));

    CBasicString<WideChar> units(size / 2, WideChar(0)); // copied: the bytes may be unaligned
    std::memcpy(units.data(), data, units.size() * sizeof(WideChar));
    const CBasicStringView<WideChar> utf16(units);
    CheckAgreement([&](CXercesIO& dom) { return dom.ParseWideString(utf16); },
                   [&](StreamReader& reader) { reader.OpenString(utf16); });
    return 0;
}
