#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Makes a document name another DTD than its own, so that it is validated against that one
// alone, by rewriting the first bytes of the document before the parser sees them: a DOCTYPE
// names the new DTD instead of its own external one (its root name stays), and of its internal
// subset only the general entity declarations stay, which the document may need to be read (the
// element, attribute and notation declarations, the parameter entities and their references
// become white space); a document without a DOCTYPE gets one just before its root start tag, for
// the root it has. No line is added or removed, so the parser's line numbers stay those of the
// file; where a line's length changed, its columns move, as the edits say.
namespace classxml::doctype_override {

enum class Outcome {
    Rewritten,
    NeedMore,   // the root start tag is not within the bytes given yet
    NotPossible // the prolog is not one a DOCTYPE can be put in (the parser will say why)
};

// A change of a line's length: on `line`, from `column` on (the rewritten document's, in UTF-16
// units from 1), `inserted` units stand where the file had `removed`.
struct Edit {
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    std::uint64_t inserted = 0;
    std::uint64_t removed = 0;
};

// The file's column of a place the parser gives in the rewritten document (one within inserted
// text is put at its start).
std::uint64_t FileColumn(const std::vector<Edit>& edits, std::uint64_t line, std::uint64_t column);

// `head`: the first bytes of the document, all of it when `complete`, in UTF-8 (or any
// ASCII-compatible encoding) or UTF-16 of either byte order as its byte-order mark or first
// character shows; `systemId`: ASCII text without both kinds of quote. The edits that change a
// line's length go to `edits`.
Outcome NameDtd(std::vector<unsigned char>& head, bool complete, std::string_view systemId,
                std::vector<Edit>& edits);

} // namespace classxml::doctype_override
