#pragma once

#include <algorithm>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "classxml/BasicString.h"

/// The attributes of one element: an ordered map from attribute name to value, ascending by
/// name (code unit by code unit, a proper prefix first); a name occurs once. The views must
/// stay valid while the map is used; the DOM copies the text.
///
/// Property elements carry at most three attributes, so up to four entries live inside the
/// object and building one costs no heap allocation.
class CAttributeMap {
public:
    using View = CBasicStringView<WideChar>;  ///< a name or a value
    using value_type = std::pair<View, View>; ///< an attribute: its name and its value
    using const_iterator = const value_type*; ///< into the entries, ascending by name

private:
    using Entries = boost::container::small_vector<value_type, 4>;

public:
    /// An empty map, or one of the entries given (the first of a name wins).
    ///@{
    CAttributeMap() = default;
    CAttributeMap(std::initializer_list<value_type> entries) {
        for (const value_type& entry : entries)
            insert(entry);
    }
    ///@}

    /// Inserts unless the name is present; the iterator names the entry with that name.
    std::pair<const_iterator, bool> insert(const value_type& entry) {
        const auto position = LowerBound(entry.first);
        if (position != m_entries.end() && position->first == entry.first)
            return {&*position, false};
        return {&*m_entries.insert(position, entry), true};
    }
    /// The same for a name and a value.
    std::pair<const_iterator, bool> emplace(View name, View value) { return insert({name, value}); }
    /// The value of the name, inserted empty when the name is missing.
    View& operator[](View name) {
        const auto position = LowerBound(name);
        if (position != m_entries.end() && position->first == name) return position->second;
        return m_entries.insert(position, {name, View()})->second;
    }

    /// The entry of a name, or end().
    const_iterator find(View name) const {
        const auto position = std::lower_bound(begin(), end(), name, NameLess);
        return position != end() && position->first == name ? position : end();
    }
    /// 1 when the name is present, else 0.
    std::size_t count(View name) const { return find(name) != end() ? 1 : 0; }
    /// The entries, ascending by name.
    ///@{
    const_iterator begin() const { return m_entries.data(); }
    const_iterator end() const { return m_entries.data() + m_entries.size(); }
    ///@}
    /// How many entries there are, whether there are none; and removing them all.
    ///@{
    std::size_t size() const { return m_entries.size(); }
    bool empty() const { return m_entries.empty(); }
    void clear() { m_entries.clear(); }
    ///@}

private:
    static bool NameLess(const value_type& entry, View name) { return entry.first < name; }
    Entries::iterator LowerBound(View name) {
        return std::lower_bound(m_entries.begin(), m_entries.end(), name, NameLess);
    }

    Entries m_entries;
};
