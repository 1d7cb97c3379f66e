#pragma once

namespace classxml::archive_detail {

// Starts the library's engine on an archive's first use and stops it when the process ends,
// so that applications never call InitXMLEngine for an archive.
void StartEngineOnFirstUse();

} // namespace classxml::archive_detail
