#pragma once

#include "classxml/platform/Export.h"

/// The application's localisation service. The text searches carry it along; the searches the
/// library itself makes are case-sensitive and never call it.
class CLASSXML_API LocalizationManager {
public:
    LocalizationManager();
    virtual ~LocalizationManager();
};
