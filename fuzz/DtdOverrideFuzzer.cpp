// Naming a DTD in a document's place (classxml validate --dtdvalid) and the lines its errors are
// shown with. A document whose DOCTYPE already names that DTD, with an internal subset of entity
// declarations, comments and processing instructions only, reads the same with and without the
// override: the same events, the same verdict, the first error at the same line and column. Any
// other prolog (declarations the override drops, parameter entities, broken markup) must only
// read without a crash or a hang, its errors at places of the file, whose excerpts are made
// from the file as it is.
//
// Each input byte picks a piece of the prolog, up to a 0x00 byte; the rest is the body.
#include <cstdint>
#include <fstream>
#include <string>

#include "Commands.h"
#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/stream/StreamReader.h"
#include "support/Transcript.h"

namespace {

using classxml::StreamReader;

struct Piece {
    const char* text;
    bool dropped; // a declaration the override leaves out, or one it may not take
};

const Piece kPieces[] = {
    {"<!ENTITY e 'text'>", false},
    {"<!ENTITY f \"a<b/>b\">", false},
    {"<!-- a comment -->", false},
    {"<?pi some data?>", false},
    {"\n", false},
    {"\r\n", false},
    {" ", false},
    {"<!ENTITY g 'x>y'>", false},
    {"<!ATTLIST r b CDATA #IMPLIED>", true},
    {"<!ELEMENT r ANY>", true},
    {"<!ELEMENT q EMPTY>", true},
    {"<!ENTITY % p '<!ATTLIST r c CDATA \"1\">'>", true},
    {"%p;", true},
    {"<!NOTATION n SYSTEM 'x'>", true},
    {"<!ATTLIST r a CDATA #FIXED 'v'>", true},
    {"]", true},
    {"<!", true},
    {"'", true},
    {"\xC3\xA9", true},
    {"\xF0\x9F\x98\x80", true},
};

std::string Read(StreamReader& reader, const std::filesystem::path& file, bool override) {
    if (override)
        reader.ValidateAgainst(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory() / "f.dtd"));
    reader.OpenFile(classxml::fuzz::Wide(file));
    const std::string transcript = classxml::testing::Transcript(reader);
    for (const classxml::Diagnostic& diagnostic : classxml::LastDiagnostics())
        classxml::tool::DiagnosticLines(diagnostic); // the excerpt, from the file
    return transcript;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    const auto& scratch = classxml::fuzz::ScratchDirectory();
    std::ofstream(scratch / "f.dtd") << "<!ELEMENT r ANY>\n<!ELEMENT q (#PCDATA)>\n"
                                        "<!ATTLIST r a CDATA #IMPLIED>\n";
    CXMLClassReaderWriter::SetDtdDirectory(classxml::fuzz::Wide(scratch),
                                           CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string subset;
    bool dropped = false;
    std::size_t at = 0;
    for (; at < size && data[at] != 0; ++at) {
        const Piece& piece = kPieces[data[at] % (sizeof kPieces / sizeof kPieces[0])];
        subset += piece.text;
        dropped = dropped || piece.dropped;
    }
    const std::string body(reinterpret_cast<const char*>(data) + std::min(size, at + 1),
                           size - std::min(size, at + 1));
    const std::string xml = "<!DOCTYPE r SYSTEM 'f.dtd' [" + subset + "]>" + body;
    const auto file = classxml::fuzz::ScratchDirectory() / "doc.xml";
    std::ofstream(file, std::ios::binary) << xml;
    StreamReader overridden, named;
    const std::string withOverride = Read(overridden, file, true);
    const std::string without = Read(named, file, false);
    if (!dropped) {
        if (withOverride != without)
            std::fprintf(stderr, "override:\n%s\nown:\n%s\n", withOverride.c_str(),
                         without.c_str());
        FUZZ_CHECK(withOverride == without);
    }
    // A body without a DOCTYPE gets one from the override on its root's line.
    const auto bare = classxml::fuzz::ScratchDirectory() / "bare.xml";
    std::ofstream(bare, std::ios::binary) << body;
    StreamReader inserted;
    Read(inserted, bare, true);
    return 0;
}
