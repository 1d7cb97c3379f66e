#pragma once

namespace classxml {

/// @ingroup archive
/// The engine a save or load runs on. Both write and read the same documents, and find members
/// by name in any order. The DOM engine builds the whole document through the handle. The
/// stream engine never holds the document: it writes each element as it comes and reads the
/// document as it streams past, in the memory of one element whatever the document's size
/// (members that stand out of order are held until they are asked for, up to 64 MiB).
enum class Engine { Dom, Stream };

} // namespace classxml
