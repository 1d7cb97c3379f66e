// Engine, parse and serialise slots. Until the engine exists they give their failure values.
#include "xmlio/XercesIO.h"

bool CXercesIO::StartEngine() { return false; }
void CXercesIO::StopEngine() {}
void CXercesIO::SetDtdDirectory(const CBasicString<WideChar>&) {}
void CXercesIO::SetDtdDirectory(CBasicString<WideChar>&&) {}
CBasicString<WideChar> CXercesIO::GetDtdDirectory() { return {}; }

bool CXercesIO::Initialize() { return false; }
void CXercesIO::Terminate() {}
bool CXercesIO::ReleaseDocument(DOMDocument*) { return false; }
CXercesIO::DOMDocument* CXercesIO::CreateDocument(const View&, const View&, const View&) {
    return nullptr;
}
bool CXercesIO::SaveDocumentToFile(DOMDocument*, const View&) { return false; }
bool CXercesIO::SaveDocumentToWideString(DOMDocument*, CBasicString<WideChar>&) { return false; }
bool CXercesIO::SaveDocumentToUTF8String(DOMDocument*, CBasicString<char8_t>&) { return false; }
bool CXercesIO::SaveElementToWideString(DOMDocument*, DOMElement*, CBasicString<WideChar>&) {
    return false;
}
bool CXercesIO::SaveElementToUTF8String(DOMDocument*, DOMElement*, CBasicString<char8_t>&) {
    return false;
}
CXercesIO::DOMDocument* CXercesIO::ParseFile(const View&) { return nullptr; }
CXercesIO::DOMDocument* CXercesIO::ParseWideString(const View&) { return nullptr; }
CXercesIO::DOMDocument* CXercesIO::ParseUTF8String(const CBasicStringView<char8_t>&) {
    return nullptr;
}
