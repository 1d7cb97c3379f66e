#pragma once

#include <xercesc/framework/MemoryManager.hpp>

#include "classxml/xmlio/ParseLimits.h"

namespace classxml::document_memory {

// The memory manager of every document and parser the library makes: Xerces' default
// allocation with two things added. What is allocated while a parse budget is active counts
// against it (see ParseLimits.h). And the large blocks a document's heap is made of are kept
// when it is released, for the next document, instead of going back to the system only to be
// faulted in again: otherwise a third of the time of building or reading a document of a
// hundred thousand records goes into page faults. Up to 256 MiB is kept, and all of it is freed
// when the engine stops. (Offering the kept pages back to the system with MADV_FREE measured
// slower than not keeping them at all.)
xercesc::MemoryManager* Memory();

// Frees every kept block.
void FreeKept();

// The same memory for a parser with a budget of its own, counted against it directly rather
// than through the budget active on the thread: for a parser that works in steps between which
// the application runs (the stream reader), so that nothing has to be activated per step.
class CountedMemory : public xercesc::MemoryManager {
public:
    explicit CountedMemory(parse_limits::Budget& budget) : m_budget(budget) {}
    xercesc::MemoryManager* getExceptionMemoryManager() override;
    void* allocate(XMLSize_t size) override;
    void deallocate(void* pointer) override;

private:
    parse_limits::Budget& m_budget;
};

} // namespace classxml::document_memory
