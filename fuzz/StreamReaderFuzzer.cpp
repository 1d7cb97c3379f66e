// Arbitrary bytes read as a UTF-8 and as a UTF-16 document by the stream reader and by the DOM
// reader behind ReadFromString: both accept or both refuse, and what they accept is the same
// tree with the same text.
#include <cstdint>
#include <cstring>

#include "FuzzSupport.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "stream/StreamReader.h"
#include "support/TreeText.h"
#include "xmlio/XercesIO.h"

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

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    // DTDs a document names are looked up in an empty directory of the fuzzer's own.
    CXMLClassReaderWriter::SetDtdDirectory(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory()),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CBasicStringView<char8_t> utf8(reinterpret_cast<const char8_t*>(data), size);
    CheckAgreement([&](CXercesIO& dom) { return dom.ParseUTF8String(utf8); },
                   [&](StreamReader& reader) { reader.OpenString(utf8); });

    CBasicString<WideChar> units(size / 2, WideChar(0)); // copied: the bytes may be unaligned
    std::memcpy(units.data(), data, units.size() * sizeof(WideChar));
    const CBasicStringView<WideChar> utf16(units);
    CheckAgreement([&](CXercesIO& dom) { return dom.ParseWideString(utf16); },
                   [&](StreamReader& reader) { reader.OpenString(utf16); });
    return 0;
}
