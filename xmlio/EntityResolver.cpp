#include "xmlio/EntityResolver.h"

#include <xercesc/framework/LocalFileInputSource.hpp>

#include "xmlio/EntityPolicy.h"
#include "xmlio/XercesText.h"

using classxml::xerces_text::Terminated;
using classxml::xerces_text::ViewOf;

CEntityResolver::CEntityResolver(CBasicString<WideChar> dtdDirectory)
    : m_dtdDirectory(std::move(dtdDirectory)) {}

CEntityResolver::~CEntityResolver() = default;

// A refused entity gets no input source; with default resolution disabled, the parser then
// reads nothing for it and reports the entity as one it could not open.
xercesc::InputSource* CEntityResolver::resolveEntity(const XMLCh* const,
                                                     const XMLCh* const systemId) {
    const auto resolution =
        classxml::entity_policy::ResolveInDtdDirectory(ViewOf(systemId), m_dtdDirectory);
    if (resolution.refusal) {
        classxml::entity_policy::RecordRefusal(systemId, resolution.refusal);
        return nullptr;
    }
    return new xercesc::LocalFileInputSource(Terminated(resolution.path));
}
