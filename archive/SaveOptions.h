#pragma once

#include "classxml/archive/DocumentType.h"
#include "classxml/archive/Engine.h"

namespace classxml {

/// @ingroup archive
/// How a document is saved, for the overloads of SaveToFile and SaveToString that take it.
struct SaveOptions {
    DocumentType doctype;           ///< the DOCTYPE the document names; none by default
    Engine engine = Engine::Stream; ///< both engines write the same bytes
    /// One element a line, two spaces a level, and a final newline, for files that people read
    /// and keep under version control, where a one-line file makes every change a conflict.
    /// Only white space between tags is added: every value's text reads back exactly. It costs
    /// the bytes of the indentation (a fifth more for records of short members); the stream
    /// engine writes it as it goes.
    bool indented = false;
};

} // namespace classxml
