#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include "classxml/xmlio/Diagnostics.h"

// Where the library's handlers put what LastDiagnostics gives back.
namespace classxml::diagnostics {

// A new parse or save on this thread: the list starts empty.
void Begin();
void Record(Diagnostic::Severity severity, const XMLCh* source, XMLFileLoc line, XMLFileLoc column,
            const XMLCh* message);

} // namespace classxml::diagnostics
