#include "classxml/platform/PerThread.h"

#if defined(_WIN32)
#include <windows.h>

namespace classxml::platform {

ThreadSlot::ThreadSlot(void (*destroy)(void*))
    : m_index(FlsAlloc(reinterpret_cast<PFLS_CALLBACK_FUNCTION>(destroy))) {}

void* ThreadSlot::Get() const { return FlsGetValue(m_index); }

void ThreadSlot::Set(void* value) const { FlsSetValue(m_index, value); }

} // namespace classxml::platform
#endif
