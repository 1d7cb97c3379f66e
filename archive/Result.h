#pragma once

#include <string>
#include <vector>

#include "classxml/platform/Export.h"
#include "classxml/xmlio/Diagnostics.h"

namespace classxml {

/// @ingroup archive
/// What a save or load came to. On failure, `path` names the member from the root element
/// (`Station/sensors/Sensor[2]/latitude`), `expected` and `found` say what was wrong there
/// (`expected` is empty where `found` says it all: "cannot open "station.xml": no such file"),
/// and `diagnostics` hold the parser's or serialiser's own complaints.
struct Result {
    bool ok = true;                      ///< the save or load succeeded
    std::string path;                    ///< the failing member, from the root element
    std::string expected;                ///< what the archive expected there
    std::string found;                   ///< what it found instead
    std::vector<Diagnostic> diagnostics; ///< the parser's or serialiser's own complaints

    /// True on success.
    explicit operator bool() const { return ok; }
    /// One line for people: "Station/id: expected __int64, found "12abc"".
    CLASSXML_API std::string Message() const;
};

} // namespace classxml
