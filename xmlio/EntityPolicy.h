#pragma once

#include <optional>

#include <xercesc/util/SecurityManager.hpp>

#include "BasicString.h"

// What a document may make the parsers read.
namespace classxml::entity_policy {

// The file an external entity (a DTD or an external general entity) names, if the DTD
// directory serves it: a system id that begins with the directory is taken as it stands,
// any other is looked up inside it (inside the current directory when it is empty). Refused,
// so that a document cannot reach other files or the network: URLs and other schemes,
// absolute paths outside the directory, and any ".." step.
std::optional<CBasicString<WideChar>> ResolveInDtdDirectory(CBasicStringView<WideChar> systemId,
                                                            CBasicStringView<WideChar> directory);

// The limit on entity expansions that every parser uses, so that a document of nested
// entities ("billion laughs") fails instead of exhausting memory.
xercesc::SecurityManager* ExpansionLimit();

} // namespace classxml::entity_policy
