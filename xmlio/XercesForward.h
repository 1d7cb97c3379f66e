#pragma once

#include <xercesc/util/XercesDefs.hpp>

// The DOM node types that cross the library's interfaces, without the DOM headers.
XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
class DOMNode;
XERCES_CPP_NAMESPACE_END
