#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include "classxml/BasicString.h"

// Text handed to and taken from Xerces. XMLCh and WideChar are the same UTF-16 type on every
// platform the library builds for, so text crosses without copies.
namespace classxml::xerces_text {

static_assert(sizeof(XMLCh) == sizeof(WideChar));

// The zero-terminated text behind a view; an empty view without storage gives "".
inline const XMLCh* Terminated(const CBasicStringView<WideChar>& view) {
    static constexpr WideChar empty[1] = {0};
    return reinterpret_cast<const XMLCh*>(view.data() ? view.data() : empty);
}

// A view over zero-terminated DOM text; null gives the empty view.
inline CBasicStringView<WideChar> ViewOf(const XMLCh* text) {
    if (!text) return {};
    return CBasicStringView<WideChar>(reinterpret_cast<const WideChar*>(text));
}

} // namespace classxml::xerces_text
