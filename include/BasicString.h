#pragma once

#include <string>
#include <string_view>

#include "classxml/WideChar.h"

// Owning string and non-owning view over char, WideChar (UTF-16) and char8_t (UTF-8). The
// standard types already compare code unit by code unit with a proper prefix first.
template <class C>
using CBasicString = std::basic_string<C>;

template <class C>
using CBasicStringView = std::basic_string_view<C>;
