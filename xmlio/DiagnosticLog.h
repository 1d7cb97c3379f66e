#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include <string_view>
#include <vector>

#include "classxml/xmlio/Diagnostics.h"
#include "classxml/xmlio/DoctypeOverride.h"

// Where the library's handlers put what LastDiagnostics gives back.
namespace classxml::diagnostics {

// A new parse or save on this thread: the list starts empty.
void Begin();
void Record(Diagnostic::Severity severity, const XMLCh* source, XMLFileLoc line, XMLFileLoc column,
            const XMLCh* message);
// The places of `source`'s diagnostics so far, put back on the file where the document was
// rewritten before the parser read it (DoctypeOverride.h).
void MapColumns(std::string_view source, const std::vector<doctype_override::Edit>& edits);

} // namespace classxml::diagnostics
