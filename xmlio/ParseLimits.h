#pragma once

#include <cstddef>
#include <cstdint>

// What a document may make a parser do, whatever it holds: how deep it nests, how far its
// entities expand it and how much memory its parse holds. Every parser of the library works
// within these limits (see LimitedParser.h).
namespace classxml::parse_limits {

// Deeper documents are refused: the serialiser recurses once per level, and at this depth
// neither it nor anything else that walks a tree comes near the end of a 1 MiB stack.
inline constexpr std::size_t kMaxDepth = 256;
// Characters of content, attribute values, comments and processing instructions a document
// may deliver: what entity references may expand it to.
inline constexpr std::uint64_t kCharactersPerByte = 64;
inline constexpr std::uint64_t kCharacterAllowance = std::uint64_t(1) << 20;
// Memory a parse may hold. An ordinary document takes 20 to 110 bytes of DOM per byte.
inline constexpr std::uint64_t kMemoryPerByte = 256;
inline constexpr std::uint64_t kMemoryAllowance = std::uint64_t(64) << 20;

// Why a parse stopped at a limit.
inline constexpr const char* kTooDeep = "the document nests deeper than 256 levels";
inline constexpr const char* kTooExpanded =
    "entities expand the document to more than 64 times its size";
inline constexpr const char* kTooLarge =
    "the document needs more memory than 256 times its size and 64 MiB";
inline constexpr const char* kTrailingContent = "only white space may follow the root element";

// The limits of one parse, and what it has used so far. The limits grow with the bytes of the
// document that have been read, never ahead of them: a file's length says nothing of what it
// holds (a sparse file, a pipe).
class Budget {
public:
    explicit Budget(std::uint64_t inputBytes = 0) { Arrived(inputBytes); }

    // `bytes` more of the document have been read.
    void Arrived(std::uint64_t bytes) { m_read += bytes; }

    // False past the limit.
    static bool Allows(std::size_t depth) { return depth <= kMaxDepth; }
    bool Deliver(std::uint64_t characters) { // on every piece of text: inline
        m_characters += characters;
        return m_characters <= kCharactersPerByte * m_read + kCharacterAllowance;
    }

    // Memory taken and given back by the parse's allocations; Take answers false the first
    // time the limit would be passed. What the parse needs to unwind after that is let through.
    bool Take(std::uint64_t bytes);
    void GiveBack(std::uint64_t bytes);
    bool MemoryExceeded() const { return m_memoryExceeded; }

private:
    std::uint64_t m_read = 0;
    std::uint64_t m_characters = 0;
    std::uint64_t m_memory = 0;
    bool m_memoryExceeded = false;
};

// Makes `budget` the one that this thread's parser allocations count against, for as long as
// it lives (one parse, or one step of a progressive parse).
class ActiveBudget {
public:
    explicit ActiveBudget(Budget& budget);
    ~ActiveBudget();
    // The budget active on this thread, if any. The library's memory manager (DocumentMemory.h)
    // counts allocations against it and raises Xerces' OutOfMemoryException past its limit,
    // which every parser passes straight out.
    static Budget* Current();
    ActiveBudget(const ActiveBudget&) = delete;
    ActiveBudget& operator=(const ActiveBudget&) = delete;

private:
    Budget* m_previous;
};

} // namespace classxml::parse_limits
