#pragma once

#include <string_view>
#include <vector>

// Makes a document name another DTD than its own, so that it is validated against that one, by
// rewriting the first bytes of the document before the parser sees them: a DOCTYPE that names an
// external DTD names the new one instead (its root name and internal subset stay), and a
// document without a DOCTYPE gets one just before its root start tag, for the root it has. No
// line is added, so the parser's line numbers stay those of the file; columns after the
// insertion on the root's line move by its length.
namespace classxml::doctype_override {

enum class Outcome {
    Rewritten,
    NeedMore,   // the root start tag is not within the bytes given yet
    NotPossible // the prolog is not one a DOCTYPE can be put in (the parser will say why)
};

// `head`: the first bytes of the document, all of it when `complete`, in UTF-8 (or any
// ASCII-compatible encoding) or UTF-16 of either byte order as its byte-order mark or first
// character shows; `systemId`: ASCII text without both kinds of quote.
Outcome NameDtd(std::vector<unsigned char>& head, bool complete, std::string_view systemId);

} // namespace classxml::doctype_override
