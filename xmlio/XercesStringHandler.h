#pragma once

#include "classxml/platform/Export.h"

/// Common base of the classes that hand strings to and from Xerces.
class CLASSXML_API CXercesStringHandler {
public:
    virtual ~CXercesStringHandler();
};
