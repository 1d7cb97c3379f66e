// The two handlers that turn Xerces' complaints into lines on standard error.
#include <string>

#include <xercesc/dom/DOMError.hpp>
#include <xercesc/sax/SAXParseException.hpp>

#include "classxml/platform/StandardError.h"
#include "classxml/platform/Utf.h"
#include "classxml/xmlio/DOMPrintErrorHandler.h"
#include "classxml/xmlio/DOMTreeErrorReporter.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/ReadSettings.h"
#include "classxml/xmlio/XercesText.h"

namespace {

std::string Narrow(const XMLCh* text) {
    return classxml::platform::WideToNarrow(classxml::xerces_text::ViewOf(text));
}

// Error at file "a.xml", line 3, column 7
//    Message: <the parser's text>
// and the same as a diagnostic.
void WriteParseError(const char* opening, classxml::Diagnostic::Severity severity,
                     const xercesc::SAXParseException& exception, bool quiet) {
    classxml::diagnostics::Record(severity, exception.getSystemId(), exception.getLineNumber(),
                                  exception.getColumnNumber(), exception.getMessage());
    if (quiet) return;
    classxml::platform::WriteLineToStandardError(
        opening + Narrow(exception.getSystemId()) + "\", line " +
        std::to_string(exception.getLineNumber()) + ", column " +
        std::to_string(exception.getColumnNumber()) +
        "\n   Message: " + Narrow(exception.getMessage()));
}

} // namespace

DOMTreeErrorReporter::DOMTreeErrorReporter() : quiet(classxml::read_settings::Quiet()) {}

DOMTreeErrorReporter::~DOMTreeErrorReporter() = default;

void DOMTreeErrorReporter::warning(const xercesc::SAXParseException&) {}

void DOMTreeErrorReporter::error(const xercesc::SAXParseException& exception) {
    sawErrors = true;
    WriteParseError("Error at file \"", classxml::Diagnostic::Severity::Error, exception, quiet);
}

void DOMTreeErrorReporter::fatalError(const xercesc::SAXParseException& exception) {
    sawErrors = true;
    WriteParseError("Fatal Error at file \"", classxml::Diagnostic::Severity::FatalError, exception,
                    quiet);
}

void DOMTreeErrorReporter::resetErrors() { sawErrors = false; }

DOMPrintErrorHandler::~DOMPrintErrorHandler() = default;

bool DOMPrintErrorHandler::handleError(const xercesc::DOMError& error) {
    using Severity = classxml::Diagnostic::Severity;
    const char* opening = "\nFatal Message: ";
    Severity severity = Severity::FatalError;
    if (error.getSeverity() == xercesc::DOMError::DOM_SEVERITY_WARNING) {
        opening = "\nWarning Message: ";
        severity = Severity::Warning;
    } else if (error.getSeverity() == xercesc::DOMError::DOM_SEVERITY_ERROR) {
        opening = "\nError Message: ";
        severity = Severity::Error;
    }
    classxml::diagnostics::Record(severity, nullptr, 0, 0, error.getMessage());
    classxml::platform::WriteLineToStandardError(opening + Narrow(error.getMessage()));
    return true;
}
