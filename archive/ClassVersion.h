#pragma once

#include <cstdint>

/// @file
/// Class versions, for files that outlive the release that wrote them.

namespace classxml {

/// @ingroup archive
/// The version of class `T` in this program: 0 unless CLASSXML_CLASS_VERSION gives another.
template <class T>
struct ClassVersion {
    static constexpr std::uint32_t value = 0; ///< the program's version of T
};

} // namespace classxml

/// @ingroup archive
/// Gives class `T` version `N` (0 or more), at global scope: `CLASSXML_CLASS_VERSION(Item, 2)`.
/// A class above version 0 writes it on each of its class elements ("varversion"), and its
/// `serialize(Archive&, std::uint32_t version)` (or `save` and `load` with a version) is given
/// the program's version when saving and the file's when loading; an element without one is
/// version 0. A file whose version of a class is above the program's is refused.
#define CLASSXML_CLASS_VERSION(T, N)                                                               \
    static_assert((N) >= 0, "a class version is 0 or more");                                       \
    template <>                                                                                    \
    struct classxml::ClassVersion<T> {                                                             \
        static constexpr std::uint32_t value = (N);                                                \
    };
