#pragma once

#include <gtest/gtest.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "classxml/BasicString.h"

namespace classxml::testing {

// Fixture with Xerces started and an empty document <root/> built with Xerces directly,
// without the library's engine.
class XercesDocumentTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { xercesc::XMLPlatformUtils::Initialize(); }
    static void TearDownTestSuite() { xercesc::XMLPlatformUtils::Terminate(); }

    void SetUp() override {
        auto* implementation = xercesc::DOMImplementationRegistry::getDOMImplementation(WIDE("Core"));
        document = implementation->createDocument(nullptr, WIDE("root"), nullptr);
        root = document->getDocumentElement();
    }
    void TearDown() override { document->release(); }

    xercesc::DOMElement* Child(const XMLCh* name) {
        auto* element = document->createElement(name);
        root->appendChild(element);
        return element;
    }

    xercesc::DOMDocument* document = nullptr;
    xercesc::DOMElement* root = nullptr;
};

} // namespace classxml::testing
