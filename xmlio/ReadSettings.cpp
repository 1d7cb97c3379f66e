#include "classxml/xmlio/ReadSettings.h"

#include "classxml/platform/Path.h"
#include "classxml/platform/PerThread.h"

namespace classxml::read_settings {
namespace {

struct Settings {
    std::optional<CBasicString<WideChar>> dtdDirectory;
    bool quiet = false;
};

Settings& ThisThreads() { return platform::PerThread<Settings>(); }

} // namespace

Scope::Scope(std::optional<CBasicString<WideChar>> dtdDirectory, bool quiet)
    : m_previousDirectory(ThisThreads().dtdDirectory), m_previousQuiet(ThisThreads().quiet) {
    // A directory ends in the separator, as SetDtdDirectory makes it.
    if (dtdDirectory && !dtdDirectory->empty() &&
        dtdDirectory->back() != platform::kPathSeparator && dtdDirectory->back() != WideChar('/'))
        dtdDirectory->push_back(platform::kPathSeparator);
    ThisThreads().dtdDirectory = std::move(dtdDirectory);
    ThisThreads().quiet = quiet;
}

Scope::~Scope() {
    ThisThreads().dtdDirectory = std::move(m_previousDirectory);
    ThisThreads().quiet = m_previousQuiet;
}

const std::optional<CBasicString<WideChar>>& DtdDirectory() { return ThisThreads().dtdDirectory; }

bool Quiet() { return ThisThreads().quiet; }

} // namespace classxml::read_settings
