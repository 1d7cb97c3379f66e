#pragma once

#include <xercesc/dom/DOMErrorHandler.hpp>

// Error handler of the serialiser: writes one line per warning, error or fatal error to
// standard error and always lets serialisation continue.
class DOMPrintErrorHandler : public xercesc::DOMErrorHandler {
public:
    ~DOMPrintErrorHandler() override;

    bool handleError(const xercesc::DOMError& error) override;
};
