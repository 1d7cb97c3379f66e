#pragma once

#include <cstdint>

#include "classxml/NamedType.h"

// Identifier, time and version types of the property families. Writers take them, readers store
// into them; the tags keep an identifier from passing for a time or a version.
struct DB_ID_Base_t {};
struct DB_GROUP_ID_Base_t {};
struct DB_USER_ID_Base_t {};
struct DB_TIME_TYPE_Base_t {};
struct DB_TIME_TYPE_UTC_Base_t {};
struct DB_VERSIONNUMBER_Base_t {};

using DB_ID = NamedType<std::uint64_t, DB_ID_Base_t>;
using DB_GROUP_ID = NamedType<std::uint64_t, DB_GROUP_ID_Base_t>;
using DB_USER_ID = NamedType<std::uint64_t, DB_USER_ID_Base_t>;
using DB_TIME_TYPE = NamedType<double, DB_TIME_TYPE_Base_t>;
using DB_UTC_TIME_TYPE = NamedType<double, DB_TIME_TYPE_UTC_Base_t>;
// A version number major.minor held as a double; written with three decimals of minor.
using DB_VERSIONNUMBER = NamedType<double, DB_VERSIONNUMBER_Base_t>;
