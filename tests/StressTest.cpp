// Many threads using the library at once, each with its own handles, and releasing shared
// documents concurrently: afterwards every document has been released exactly once.
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/Engine.h"
#include "classxml/xmlio/XercesIO.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::testing::SaveUtf8;

constexpr int kThreads = 6;
constexpr int kRounds = 60;

Handle NewHandle(bool typeCheck) {
    return Handle(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, typeCheck);
}

// One round of everything a thread does with its own documents; false when any step fails.
bool OneRound(int thread, int round) {
    Handle writer = NewHandle(round % 2 == 0);
    if (!writer.CreateDocument(WIDE("Root"), {}, {})) return false;
    Handle item = writer.CreateClass(WIDE("Item"), WIDE("i"));
    item.AddintProperty(WIDE("thread"), WIDE("int"), thread);
    item.AdddoubleProperty(WIDE("round"), WIDE("double"), round + 0.5);
    Handle values = item.AddVECTORProperty(WIDE("values"), WIDE("int"));
    for (int k = 0; k < 20; ++k)
        values.AddintVECTORProperty(WIDE("v"), WIDE("int"), k);
    const std::string xml = SaveUtf8(writer);
    writer.ReleaseDocument();

    Handle reader = NewHandle(round % 2 == 0);
    if (!reader.ReadFromString(CBasicStringView<char>(xml))) return false;
    int readThread = -1;
    double readRound = 0;
    Handle member = reader.GetFirstSubElement(WIDE("Item")).GetFirstSubElement();
    const bool read =
        member.GetintProperty(WIDE("thread"), WIDE("int"), readThread) &&
        member.GetNextElement().GetdoubleProperty(WIDE("round"), WIDE("double"), readRound);
    const bool same = SaveUtf8(reader) == xml;
    reader.ReleaseDocument();
    return read && same && readThread == thread && readRound == round + 0.5;
}

// Lets a fixed number of threads start each round together.
class RoundStart {
public:
    explicit RoundStart(int threads) : m_threads(threads) {}
    void ArriveAndWait() {
        std::unique_lock lock(m_mutex);
        const int round = m_round;
        if (++m_arrived == m_threads) {
            m_arrived = 0;
            ++m_round;
            m_next.notify_all();
            return;
        }
        m_next.wait(lock, [&] { return m_round != round; });
    }

private:
    const int m_threads;
    int m_arrived = 0;
    int m_round = 0;
    std::mutex m_mutex;
    std::condition_variable m_next;
};

class StressTest : public classxml::testing::EngineTest {};

TEST_F(StressTest, ThreadsWorkTheirOwnDocumentsAndReleaseSharedOnesOnce) {
    const std::size_t before = CXercesIO::GetDocumentCount();
    std::atomic<int> failures{0};
    std::atomic<int> sharedReleases{0};
    std::vector<xercesc::DOMDocument*> shared(kRounds);
    RoundStart sync(kThreads); // every round starts together
    {
        CXercesIO io;
        for (auto& document : shared)
            document = io.CreateDocument({}, {}, WIDE("Shared"));
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            CXercesIO io;
            for (int round = 0; round < kRounds; ++round) {
                sync.ArriveAndWait();
                if (!OneRound(t, round)) ++failures;
                // All threads release the round's shared document; one of them succeeds. No
                // thread makes documents meanwhile, so that none gets the freed address and is
                // released by a thread that still holds the old pointer.
                sync.ArriveAndWait();
                sharedReleases += io.ReleaseDocument(shared[std::size_t(round)]) ? 1 : 0;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(sharedReleases, kRounds);
    EXPECT_EQ(CXercesIO::GetDocumentCount(), before); // nothing left registered
}

// Threads that each start and stop the engine around their own work: the count and the start
// or stop change together, so none finds the engine stopped under it.
TEST(EngineThreads, StartAndStopAroundTheirOwnWork) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds / 2; ++round) {
                Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
                if (!OneRound(t, round)) ++failures;
                Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES), 0u);
}

} // namespace
