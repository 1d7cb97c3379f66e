#pragma once

#include "classxml/platform/Export.h"

namespace classxml::platform {

// One value of T per thread, made on first use and destroyed when the thread ends. A C++
// thread_local with a destructor crashes at thread exit inside a mingw-w64 DLL, so on Windows
// the value lives in a fiber-local slot, whose callback destroys it instead.
template <class T>
T& PerThread();

#if defined(_WIN32)

// A fiber-local slot whose values `destroy` deletes when their thread ends.
class CLASSXML_API ThreadSlot {
public:
    explicit ThreadSlot(void (*destroy)(void*));
    void* Get() const;
    void Set(void* value) const;

private:
    unsigned long m_index;
};

template <class T>
T& PerThread() {
    static const ThreadSlot slot([](void* value) { delete static_cast<T*>(value); });
    auto* value = static_cast<T*>(slot.Get());
    if (!value) slot.Set(value = new T());
    return *value;
}

#else

template <class T>
T& PerThread() {
    thread_local T value;
    return value;
}

#endif

} // namespace classxml::platform
