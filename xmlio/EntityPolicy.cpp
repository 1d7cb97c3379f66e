#include "classxml/xmlio/EntityPolicy.h"

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/XercesText.h"

namespace classxml::entity_policy {
namespace {

using View = CBasicStringView<WideChar>;

bool IsSeparator(WideChar unit) { return unit == '/' || unit == '\\'; }
bool IsLetter(WideChar unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z');
}

// "http:", "file:", "urn:": a name of two or more characters before a colon. One letter and a
// colon is a drive.
bool HasScheme(View id) {
    std::size_t length = 0;
    while (length < id.size() &&
           (IsLetter(id[length]) ||
            (length > 0 && (id[length] == '+' || id[length] == '-' || id[length] == '.' ||
                            (id[length] >= '0' && id[length] <= '9')))))
        ++length;
    return length >= 2 && length < id.size() && id[length] == ':';
}

bool IsAbsolute(View id) {
    return (!id.empty() && IsSeparator(id.front())) ||
           (id.size() >= 2 && IsLetter(id[0]) && id[1] == ':');
}

bool HasStepUp(View id) {
    for (std::size_t start = 0; start <= id.size();) {
        std::size_t end = start;
        while (end < id.size() && !IsSeparator(id[end]))
            ++end;
        if (id.substr(start, end - start) == View(WIDE(".."))) return true;
        start = end + 1;
    }
    return false;
}

} // namespace

Resolution ResolveInDtdDirectory(View systemId, View directory) {
    if (systemId.empty()) return {{}, "it is empty"};
    if (HasStepUp(systemId)) return {{}, "a \"..\" step could leave the DTD directory"};
    if (HasScheme(systemId)) return {{}, "it names a URL or another scheme; only files are read"};
    if (directory.empty()) {
        if (IsAbsolute(systemId)) return {{}, "an absolute path, and no DTD directory is set"};
        return {CBasicString<WideChar>(systemId)};
    }
    if (systemId.starts_with(directory)) return {CBasicString<WideChar>(systemId)};
    return {CBasicString<WideChar>(directory) + CBasicString<WideChar>(systemId)};
}

void RecordRefusal(const XMLCh* systemId, const char* reason) {
    const CBasicString<WideChar> message = WIDE("refused system id '") +
                                           CBasicString<WideChar>(xerces_text::ViewOf(systemId)) +
                                           WIDE("': ") + platform::NarrowToWide(reason);
    diagnostics::Record(Diagnostic::Severity::Error, systemId, 0, 0, message.c_str());
}

xercesc::InputSource* OpenEntity(const XMLCh* systemId, View directory, Missing missing) {
    const Resolution resolution = ResolveInDtdDirectory(xerces_text::ViewOf(systemId), directory);
    if (resolution.refusal) {
        RecordRefusal(systemId, resolution.refusal);
        return nullptr;
    }
    if (missing == Missing::ReadsEmpty && platform::FileLengthOf(resolution.path) < 0) {
        static const XMLByte nothing = 0;
        return new xercesc::MemBufInputSource(&nothing, 0, systemId);
    }
    return new xercesc::LocalFileInputSource(xerces_text::Terminated(resolution.path));
}

xercesc::SecurityManager* ExpansionLimit() {
    static xercesc::SecurityManager limit; // Xerces' default: 50,000 expansions a document
    return &limit;
}

} // namespace classxml::entity_policy
