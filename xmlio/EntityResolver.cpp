#include "xmlio/EntityResolver.h"

#include <xercesc/framework/LocalFileInputSource.hpp>

#include "xmlio/EntityPolicy.h"
#include "xmlio/XercesText.h"

using classxml::xerces_text::Terminated;
using classxml::xerces_text::ViewOf;

CEntityResolver::CEntityResolver(CBasicString<WideChar> dtdDirectory)
    : m_dtdDirectory(std::move(dtdDirectory)) {}

CEntityResolver::~CEntityResolver() = default;

xercesc::InputSource* CEntityResolver::resolveEntity(const XMLCh* const,
                                                     const XMLCh* const systemId) {
    const CBasicStringView<WideChar> id = ViewOf(systemId);
    CBasicString<WideChar> path;
    if (!m_dtdDirectory.empty() && !id.starts_with(m_dtdDirectory)) path = m_dtdDirectory;
    path.append(id);
    return new xercesc::LocalFileInputSource(Terminated(path));
}
