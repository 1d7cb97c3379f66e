#pragma once

#include <cstring>

#include <xercesc/framework/XMLFormatter.hpp>

#include "classxml/BasicString.h"

namespace classxml::xerces_output {

// Serialised bytes appended straight to a string of bytes or of UTF-16 units, so that the text
// reaches the caller with no buffer in between.
template <class Char>
class StringTarget : public xercesc::XMLFormatTarget {
public:
    explicit StringTarget(CBasicString<Char>& text) : m_text(text) {}

    void writeChars(const XMLByte* const bytes, const XMLSize_t count,
                    xercesc::XMLFormatter* const) override {
        if constexpr (sizeof(Char) == 1) {
            m_text.append(reinterpret_cast<const Char*>(bytes), count);
        } else { // UTF-16 comes in whole units, not always aligned
            const std::size_t size = m_text.size();
            m_text.resize(size + count / sizeof(Char));
            std::memcpy(m_text.data() + size, bytes, count / sizeof(Char) * sizeof(Char));
        }
    }

private:
    CBasicString<Char>& m_text;
};

} // namespace classxml::xerces_output
