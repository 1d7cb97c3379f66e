#pragma once

#include <xercesc/util/SecurityManager.hpp>

#include "BasicString.h"

// What a document may make the parsers read.
namespace classxml::entity_policy {

// The file an external entity (a DTD or an external general entity) names: a system id that
// begins with the DTD directory is taken as it stands, any other is looked up inside it, an
// absolute one included, so that it cannot leave it. Refused, so that a document cannot reach
// other files or the network: any ".." step and ids with a scheme (URLs), and with an empty
// directory (where relative ids are looked up in the current directory) absolute paths.
struct Resolution {
    CBasicString<WideChar> path;   // the file to read
    const char* refusal = nullptr; // or why it is not read
};
Resolution ResolveInDtdDirectory(CBasicStringView<WideChar> systemId,
                                 CBasicStringView<WideChar> directory);

// Notes a refused system id among the diagnostics of the parse, with the reason.
void RecordRefusal(const XMLCh* systemId, const char* reason);

// The limit on entity expansions that every parser uses, so that a document of nested
// entities ("billion laughs") fails instead of exhausting memory.
xercesc::SecurityManager* ExpansionLimit();

} // namespace classxml::entity_policy
