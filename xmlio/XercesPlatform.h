#pragma once

#include <xercesc/dom/DOMImplementation.hpp>

namespace classxml::xerces_platform {

// The DOM implementation of the running engine; null while the engine is stopped.
xercesc::DOMImplementation* Implementation();

} // namespace classxml::xerces_platform
