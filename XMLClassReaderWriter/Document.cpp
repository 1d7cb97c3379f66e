// Creating, reading, saving and releasing the handle's document.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <algorithm>
#include <new>
#include <type_traits>

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XMLIO.h"

// The current element moves only when there is a document to move to.
bool CXMLClassReaderWriter::TakeDocument(DOMDocument* document) {
    mp_document = document;
    if (!document) return false;
    mp_element = msp_xmlIO->GetRootElement(document);
    return mp_element != nullptr;
}

bool CXMLClassReaderWriter::CreateDocument(View const& rootName, View const& publicId,
                                           View const& systemId) {
    if (!msp_xmlIO || mp_document) return false; // never drop a document silently
    if (!msp_xmlIO->Initialize()) return false;
    return TakeDocument(msp_xmlIO->CreateDocument(publicId, systemId, rootName));
}

bool CXMLClassReaderWriter::FullCreateDocument(View const& rootName, View const& publicId,
                                               View const& systemId) {
    if (!msp_xmlIO || !msp_xmlIO->Initialize()) return false;
    return CreateDocument(rootName, publicId, systemId);
}

bool CXMLClassReaderWriter::ReadFromFile(View const& path) {
    if (!msp_xmlIO || path.empty() || !msp_xmlIO->Initialize()) return false;
    return TakeDocument(msp_xmlIO->ParseFile(path));
}

bool CXMLClassReaderWriter::ReadFromString(View const& xml) {
    if (!msp_xmlIO || xml.empty() || !msp_xmlIO->Initialize()) return false;
    return TakeDocument(msp_xmlIO->ParseWideString(xml));
}

bool CXMLClassReaderWriter::ReadFromString(CBasicStringView<char8_t> const& xml) {
    if (!msp_xmlIO || xml.empty() || !msp_xmlIO->Initialize()) return false;
    return TakeDocument(msp_xmlIO->ParseUTF8String(xml));
}

bool CXMLClassReaderWriter::ReadFromString(CBasicStringView<char> const& xml) {
    return ReadFromString(classxml::platform::AsUtf8(xml));
}

void CXMLClassReaderWriter::CloseDocument() {
    if (!msp_xmlIO || !mp_document) return;
    msp_xmlIO->ReleaseDocument(mp_document);
    mp_document = nullptr;
    mp_element = nullptr;
}

void CXMLClassReaderWriter::ReleaseDocument() {
    if (!msp_xmlIO) return;
    CloseDocument();
    msp_xmlIO.reset();
}

void CXMLClassReaderWriter::FullReleaseDocument() {
    if (!msp_xmlIO) return;
    CloseDocument();
    msp_xmlIO->Terminate();
    msp_xmlIO.reset();
}

bool CXMLClassReaderWriter::SaveToFile(View const& path) const {
    return msp_xmlIO && msp_xmlIO->SaveDocumentToFile(mp_document, path);
}

// Serialises into Text (UTF-8 or UTF-16), then copies into a new, deliberately unterminated
// array of length + 1 characters that the caller gives back through FreeMemory.
template <class Char, class Text>
bool CXMLClassReaderWriter::SaveTo(Char** buffer, unsigned long long& length,
                                   bool wholeDocument) const {
    *buffer = nullptr;
    length = 0;
    if (!msp_xmlIO) return false;
    CBasicString<Text> text;
    bool saved = false;
    if constexpr (std::is_same_v<Text, WideChar>)
        saved = wholeDocument ? msp_xmlIO->SaveDocumentToWideString(mp_document, text)
                              : msp_xmlIO->SaveElementToWideString(mp_document, mp_element, text);
    else
        saved = wholeDocument ? msp_xmlIO->SaveDocumentToUTF8String(mp_document, text)
                              : msp_xmlIO->SaveElementToUTF8String(mp_document, mp_element, text);
    if (!saved) return false;
    length = text.size();
    *buffer = new (std::nothrow) Char[text.size() + 1];
    if (!*buffer) return false;
    std::copy(text.begin(), text.end(), *buffer);
    return true;
}

bool CXMLClassReaderWriter::SaveToString(char** buffer, unsigned long long& length,
                                         bool wholeDocument) const {
    return SaveTo<char, char8_t>(buffer, length, wholeDocument);
}

bool CXMLClassReaderWriter::SaveToString(char8_t** buffer, unsigned long long& length,
                                         bool wholeDocument) const {
    return SaveTo<char8_t, char8_t>(buffer, length, wholeDocument);
}

bool CXMLClassReaderWriter::SaveToString(WideChar** buffer, unsigned long long& length,
                                         bool wholeDocument) const {
    return SaveTo<WideChar, WideChar>(buffer, length, wholeDocument);
}

namespace {

template <class Char>
bool DeleteBuffer(Char** buffer) {
    if (!*buffer) return false;
    delete[] * buffer;
    *buffer = nullptr;
    return true;
}

} // namespace

bool CXMLClassReaderWriter::FreeMemory(char** buffer) { return DeleteBuffer(buffer); }
bool CXMLClassReaderWriter::FreeMemory(char8_t** buffer) { return DeleteBuffer(buffer); }
bool CXMLClassReaderWriter::FreeMemory(WideChar** buffer) { return DeleteBuffer(buffer); }
