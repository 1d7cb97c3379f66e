#pragma once

#include <utility>

/// A strong typedef: a Value that cannot be mixed up with another NamedType of the same Value but
/// a different Tag. Construction from the value is explicit; get() gives the value back.
template <class Value, class Tag>
class NamedType {
public:
    using ValueType = Value; ///< the type of the value it holds

    /// A value-initialised value, or the given one.
    ///@{
    constexpr NamedType() = default;
    constexpr explicit NamedType(Value value) : m_value(std::move(value)) {}
    ///@}

    /// The value.
    ///@{
    constexpr Value& get() noexcept { return m_value; }
    constexpr const Value& get() const noexcept { return m_value; }
    ///@}

    /// Compared by their values.
    ///@{
    friend constexpr bool operator==(const NamedType& a, const NamedType& b) {
        return a.m_value == b.m_value;
    }
    friend constexpr bool operator<(const NamedType& a, const NamedType& b) {
        return a.m_value < b.m_value;
    }
    ///@}

private:
    Value m_value{};
};

/// The same for bit sets: the bitwise operators stay within one Tag.
template <class Value, class Tag>
class NamedBitWiseType : public NamedType<Value, Tag> {
public:
    using NamedType<Value, Tag>::NamedType;

    /// The union and the intersection of two sets of bits.
    ///@{
    friend constexpr NamedBitWiseType operator|(NamedBitWiseType a, NamedBitWiseType b) {
        return NamedBitWiseType(a.get() | b.get());
    }
    friend constexpr NamedBitWiseType operator&(NamedBitWiseType a, NamedBitWiseType b) {
        return NamedBitWiseType(a.get() & b.get());
    }
    ///@}
    /// Whether any of `bits` is set.
    constexpr bool Has(NamedBitWiseType bits) const { return (this->get() & bits.get()) != 0; }
};
