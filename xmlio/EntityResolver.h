#pragma once

#include <xercesc/sax/HandlerBase.hpp>

#include "classxml/BasicString.h"
#include "classxml/xmlio/XercesStringHandler.h"

// Resolves the external DTD (and any external entity) of a file being parsed in the DTD
// directory: a system id that does not already begin with the directory is looked up inside it;
// one that would leave it is refused. The directory is a snapshot taken when the resolver is
// made.
class CEntityResolver : public xercesc::HandlerBase, public CXercesStringHandler {
public:
    explicit CEntityResolver(CBasicString<WideChar> dtdDirectory);
    ~CEntityResolver() override;

    xercesc::InputSource* resolveEntity(const XMLCh* const publicId,
                                        const XMLCh* const systemId) override;

private:
    CBasicString<WideChar> m_dtdDirectory;
};
