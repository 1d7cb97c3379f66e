#pragma once

#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "classxml/BasicString.h"

// What a document may make the parsers read.
namespace classxml::entity_policy {

// The file an external entity (a DTD or an external general entity) names: a system id that
// begins with the DTD directory is taken as it stands, any other is looked up inside it, an
// absolute one included, so that it cannot leave it. Refused, so that a document cannot reach
// other files or the network: any ".." step and ids with a scheme (URLs), and with an empty
// directory (where relative ids are looked up in the current directory) absolute paths.
struct Resolution {
    CBasicString<WideChar> path;   // the file to read
    const char* refusal = nullptr; // or why it is not read
};
Resolution ResolveInDtdDirectory(CBasicStringView<WideChar> systemId,
                                 CBasicStringView<WideChar> directory);

// Notes a refused system id among the diagnostics of the parse, with the reason.
void RecordRefusal(const XMLCh* systemId, const char* reason);

// What a parse makes of an entity the policy allows but that is not there: file parses report
// it, memory parses read it as empty, so that a document saved with a DOCTYPE reads back from
// memory where its DTD is not installed.
enum class Missing { Reported, ReadsEmpty };

// The input an external entity is read from, or null when the policy refuses it (the refusal
// noted among the diagnostics; with default resolution disabled, the parser then reports the
// entity as one it could not open).
xercesc::InputSource* OpenEntity(const XMLCh* systemId, CBasicStringView<WideChar> directory,
                                 Missing missing);

// The entity resolver of a SAX parse: entities as OpenEntity serves them from `directory`.
class Resolver : public xercesc::EntityResolver {
public:
    Resolver(CBasicString<WideChar> directory, Missing missing)
        : m_directory(std::move(directory)), m_missing(missing) {}
    xercesc::InputSource* resolveEntity(const XMLCh* const, const XMLCh* const systemId) override {
        return OpenEntity(systemId, m_directory, m_missing);
    }

private:
    CBasicString<WideChar> m_directory;
    Missing m_missing;
};

// The limit on entity expansions that every parser uses, so that a document of nested
// entities ("billion laughs") fails instead of exhausting memory.
xercesc::SecurityManager* ExpansionLimit();

} // namespace classxml::entity_policy
