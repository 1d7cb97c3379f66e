#pragma once

#include <memory>
#include <utility>

namespace classxml {

/// @ingroup archive
/// What a type without a default constructor is built with when a `unique_ptr` or
/// `shared_ptr` loads it: its
///
///     template <class Archive>
///     static void load_and_construct(Archive& ar, classxml::Construct<T>& construct) {
///         std::string name;
///         ar(CLASSXML_NVP(name));
///         construct(name);
///     }
///
/// (a static member, or a free function `load_and_construct(Archive&, Construct<T>&)`) reads
/// what it needs and calls `construct(arguments...)` once, which makes the object with them.
/// The type still saves through `serialize` or `save`.
template <class T>
class Construct {
public:
    /// Makes the object from `arguments`; it may be adjusted through the pointer it gives.
    template <class... Arguments>
    T* operator()(Arguments&&... arguments) {
        m_object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
        return m_object.get();
    }
    /// The object made, or null before.
    T* operator->() const { return m_object.get(); }

    /// @cond INTERNAL
    std::unique_ptr<T> Take() { return std::move(m_object); }
    /// @endcond

private:
    std::unique_ptr<T> m_object;
};

} // namespace classxml
