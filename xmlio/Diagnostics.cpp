#include "classxml/xmlio/DiagnosticLog.h"

#include <algorithm>

#include "classxml/platform/PerThread.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XercesText.h"

namespace classxml {
namespace {

std::vector<Diagnostic>& ThisThreads() { return platform::PerThread<std::vector<Diagnostic>>(); }

std::string Utf8(const XMLCh* text) {
    const CBasicString<char8_t> utf8 = platform::Utf16ToUtf8(xerces_text::ViewOf(text));
    return {utf8.begin(), utf8.end()};
}

} // namespace

const std::vector<Diagnostic>& LastDiagnostics() { return ThisThreads(); }

void diagnostics::Begin() { ThisThreads().clear(); }

// The end of a document cut short goes before the errors found at the same place: there the
// name cut in half is no declared element, but the cut is what went wrong.
void diagnostics::Record(Diagnostic::Severity severity, const XMLCh* source, XMLFileLoc line,
                         XMLFileLoc column, const XMLCh* message) {
    std::vector<Diagnostic>& recorded = ThisThreads();
    Diagnostic diagnostic{severity, Utf8(source), line, column, Utf8(message)};
    auto at = recorded.end();
    if (severity == Diagnostic::Severity::FatalError &&
        diagnostic.message == "unexpected end of input")
        while (at != recorded.begin() && (at - 1)->severity != severity &&
               (at - 1)->source == diagnostic.source && (at - 1)->line == line &&
               (at - 1)->column == column)
            --at;
    recorded.insert(at, std::move(diagnostic));
}

void diagnostics::MapColumns(std::string_view source,
                             const std::vector<doctype_override::Edit>& edits) {
    for (Diagnostic& diagnostic : ThisThreads())
        if (diagnostic.source == source)
            diagnostic.column =
                doctype_override::FileColumn(edits, diagnostic.line, diagnostic.column);
}

} // namespace classxml
