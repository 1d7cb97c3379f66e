#pragma once

#include <string>

namespace classxml {

/// @ingroup archive
/// The DOCTYPE a saved document names; none when both ids are empty.
struct DocumentType {
    std::string publicId; ///< UTF-8
    std::string systemId; ///< UTF-8; the DTD's path or name, looked up as the engine's rule says
};

} // namespace classxml
