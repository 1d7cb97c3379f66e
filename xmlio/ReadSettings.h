#pragma once

#include <optional>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

// How the reads a thread starts behave, for as long as a scope of them lives on it: where they
// look up DTDs, and whether their complaints go to standard error as well as among the
// diagnostics. The archive loads with its own settings without touching the process-wide DTD
// directory, which other threads may be reading with.
namespace classxml::read_settings {

class CLASSXML_API Scope {
public:
    // `dtdDirectory`: where DTDs are looked up, in place of the DTD directory (nothing: that
    // directory); `quiet`: nothing to standard error.
    Scope(std::optional<CBasicString<WideChar>> dtdDirectory, bool quiet);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    std::optional<CBasicString<WideChar>> m_previousDirectory;
    bool m_previousQuiet;
};

// The settings in force on this thread.
CLASSXML_API const std::optional<CBasicString<WideChar>>& DtdDirectory();
CLASSXML_API bool Quiet();

} // namespace classxml::read_settings
