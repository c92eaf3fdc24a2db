// What a thread does between two looks at a word that another thread is about to change.
#pragma once

namespace kvdm {

// Lets the other half of the core go first, where the processor has an instruction for that. The thread keeps its time slice.
inline void pauseInSpin() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

} // namespace kvdm
