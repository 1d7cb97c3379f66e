#include "classxml/xmlio/EntityResolver.h"

#include "classxml/xmlio/EntityPolicy.h"

CEntityResolver::CEntityResolver(CBasicString<WideChar> dtdDirectory)
    : m_dtdDirectory(std::move(dtdDirectory)) {}

CEntityResolver::~CEntityResolver() = default;

// Entities are read as the entity policy allows; a missing one is reported as one the parser
// could not open.
xercesc::InputSource* CEntityResolver::resolveEntity(const XMLCh* const,
                                                     const XMLCh* const systemId) {
    return classxml::entity_policy::OpenEntity(systemId, m_dtdDirectory,
                                               classxml::entity_policy::Missing::Reported);
}
