#pragma once

#include <string_view>

// The names of the transport form binary members take: the form whose base64 text pre-read
// extraction moves into a side file.
//   <FileTransport varname="image"><fileContent keytype="base64" varsize="3">AAEC</fileContent>
//   </FileTransport>
namespace classxml::archive_detail {

inline constexpr std::string_view kTransport = "FileTransport";
inline constexpr std::string_view kContent = "fileContent";
inline constexpr std::string_view kBase64 = "base64";
inline constexpr std::string_view kSize = "varsize"; // the number of bytes

} // namespace classxml::archive_detail
