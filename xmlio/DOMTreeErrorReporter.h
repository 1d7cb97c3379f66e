#pragma once

#include <xercesc/sax/ErrorHandler.hpp>

// Error handler of the file parser: writes errors and fatal errors to standard error (unless the
// parse was started quiet, see ReadSettings.h) and among the diagnostics, and remembers that it
// saw one; warnings are ignored. The flag decides whether a parsed file is accepted.
class DOMTreeErrorReporter : public xercesc::ErrorHandler {
public:
    DOMTreeErrorReporter();
    ~DOMTreeErrorReporter() override;

    void warning(const xercesc::SAXParseException& exception) override;
    void error(const xercesc::SAXParseException& exception) override;
    void fatalError(const xercesc::SAXParseException& exception) override;
    void resetErrors() override;

    bool getSawErrors() const { return sawErrors; }

private:
    bool sawErrors = false;
    bool quiet;
};
