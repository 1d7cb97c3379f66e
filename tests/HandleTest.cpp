// Value semantics of the handle: construction, copies, moves and the defined state.
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "support/XercesDocument.h"
#include "classxml/xmlio/XercesIO.h"

namespace {

using Handle = CXMLClassReaderWriter;

// Opens the protected constructors and accessors to the tests.
class HandleProbe : public Handle {
public:
    HandleProbe(boost::shared_ptr<CLoggingFile>&& logging, boost::shared_ptr<CXMLIO>&& xmlIO,
                DOMDocument* document, DOMElement* element, bool typeCheck)
        : Handle(std::move(logging), std::move(xmlIO), document, element, typeCheck) {}
    HandleProbe(boost::shared_ptr<CLoggingFile>&& logging, DOMDocument* document,
                DOMElement* element, bool typeCheck)
        : Handle(std::move(logging), document, element, typeCheck) {}
    using Handle::GetXmlIO;
};

class NullLog : public CLoggingFile {
public:
    NullLog() : CLoggingFile(0) {}
};

class HandleTest : public classxml::testing::XercesDocumentTest {
protected:
    boost::shared_ptr<CLoggingFile> log = boost::make_shared<NullLog>();
    boost::shared_ptr<CXMLIO> io = boost::make_shared<CXercesIO>();
};

TEST_F(HandleTest, PublicConstructorMovesOnlyFromAnRvalueLoggingPointer) {
    Handle copied(log, Handle::XMLIOTYPE_XERCES, true);
    EXPECT_EQ(copied.GetLoggingFile(), log);
    EXPECT_EQ(log.use_count(), 2);

    boost::shared_ptr<CLoggingFile> moved = log;
    Handle fromRvalue(std::move(moved), Handle::XMLIOTYPE_XERCES, true);
    EXPECT_EQ(moved, nullptr);
    EXPECT_EQ(fromRvalue.GetLoggingFile(), log);

    EXPECT_FALSE(copied.IsDefined());
    EXPECT_FALSE(copied.IsDocumentCreated());
}

TEST_F(HandleTest, ProtectedConstructorsCopyEvenFromRvalues) {
    boost::shared_ptr<CLoggingFile> logging = log;
    boost::shared_ptr<CXMLIO> xmlIO = io;
    HandleProbe full(std::move(logging), std::move(xmlIO), document, root, true);
    EXPECT_EQ(logging, log);
    EXPECT_EQ(xmlIO, io);
    EXPECT_TRUE(full.IsDefined());
    EXPECT_EQ(full.GetXmlIO(), io);

    HandleProbe withoutBackEnd(std::move(logging), document, root, true);
    EXPECT_EQ(logging, log);
    EXPECT_FALSE(withoutBackEnd.IsDefined());
    EXPECT_TRUE(withoutBackEnd.IsDocumentCreated());
    EXPECT_EQ(withoutBackEnd.GetXmlIO(), nullptr);
}

// Without a back end every operation fails quietly, with no exception.
TEST_F(HandleTest, OtherBackEndTypesHaveNoBackEnd) {
    Handle none(log, Handle::XMLIOTYPE_NONE, true);
    EXPECT_FALSE(none.IsDefined());
    EXPECT_EQ(none.GetLoggingFile(), log);
    EXPECT_FALSE(none.CreateDocument(WIDE("r"), {}, {}));
    EXPECT_FALSE(none.CreateClass(WIDE("c")).IsDefined());
    EXPECT_EQ(none.CreateClass(WIDE("c")).GetLoggingFile(), log);
    EXPECT_FALSE(none.AddAttributeValue(WIDE("a"), WIDE("b")));
    EXPECT_FALSE(none.DeleteFirstSubElement(WIDE("e")));
    EXPECT_TRUE(none.GetContent().empty());
}

TEST_F(HandleTest, CopiesShareBackEndDocumentAndElement) {
    HandleProbe original(boost::shared_ptr<CLoggingFile>(log), boost::shared_ptr<CXMLIO>(io),
                         document, root, true);
    {
        HandleProbe copy(original);
        EXPECT_TRUE(copy.IsDefined());
        EXPECT_EQ(copy.GetXmlIO(), io);
        EXPECT_EQ(io.use_count(), 3);
        EXPECT_EQ(copy.GetLoggingFile(), log);
    }
    EXPECT_EQ(io.use_count(), 2);
    EXPECT_TRUE(original.IsDefined());
    EXPECT_EQ(document->getDocumentElement(), root); // destroying a copy left the document alone

    Handle assigned(log, Handle::XMLIOTYPE_NONE, false);
    assigned = original;
    EXPECT_TRUE(assigned.IsDefined());
    EXPECT_EQ(io.use_count(), 3);
}

TEST_F(HandleTest, SelfAssignmentChangesNothing) {
    HandleProbe handle(boost::shared_ptr<CLoggingFile>(log), boost::shared_ptr<CXMLIO>(io),
                       document, root, true);
    Handle& self = handle;
    Handle& same = handle;
    self = same;
    EXPECT_TRUE(handle.IsDefined());
    EXPECT_EQ(handle.GetXmlIO(), io);
    EXPECT_EQ(io.use_count(), 2);
    self = std::move(same);
    EXPECT_TRUE(handle.IsDefined());
    EXPECT_EQ(io.use_count(), 2);
}

TEST_F(HandleTest, MovedFromHandleKeepsPointersButLosesBackEndAndLog) {
    HandleProbe source(boost::shared_ptr<CLoggingFile>(log), boost::shared_ptr<CXMLIO>(io),
                       document, root, true);
    HandleProbe target(std::move(source));
    EXPECT_TRUE(target.IsDefined());
    EXPECT_FALSE(source.IsDefined());
    EXPECT_TRUE(source.IsDocumentCreated());
    EXPECT_EQ(source.GetXmlIO(), nullptr);
    EXPECT_EQ(source.GetLoggingFile(), nullptr);
    EXPECT_EQ(io.use_count(), 2);

    Handle assignedTo(log, Handle::XMLIOTYPE_NONE, false);
    assignedTo = std::move(target);
    EXPECT_TRUE(assignedTo.IsDefined());
    EXPECT_EQ(target.GetXmlIO(), nullptr);
    EXPECT_TRUE(target.IsDocumentCreated());
}

} // namespace
