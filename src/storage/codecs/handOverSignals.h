// The three signals by which a client and its worker hand bytes to each other.
#pragma once

#include "platform/threads/pause.h"

#include <atomic>
#include <cstdint>
#include <thread>

namespace kvdm {

// One word with a bit a signal, so that a wait for either of two is one wait. What a thread wrote before it set a signal is
// seen by the thread that waited for it. A wait spins for a moment, as the other side is mostly about to answer, and then
// sleeps; with a single processor it sleeps at once.
class HandOverSignals
{
public:
    enum Signal : std::uint32_t
    {
        dataReady = 1,
        spaceReady = 2,
        finished = 4 // stays set
    };

    void set(Signal signal) noexcept
    {
        word.fetch_or(signal, std::memory_order_acq_rel);
        word.notify_all();
    }
    void reset(Signal signal) noexcept { word.fetch_and(~std::uint32_t{signal}, std::memory_order_acq_rel); }

    // Waits until one of the two is set; true when it is the first, which goes before the second. Resets neither.
    bool waitForFirst(Signal first, Signal second) noexcept
    {
        const std::uint32_t either = first | second;
        std::uint32_t seen = word.load(std::memory_order_acquire);
        for (int turn = spinTurns(); turn > 0 && (seen & either) == 0; --turn) {
            pauseInSpin();
            seen = word.load(std::memory_order_acquire);
        }
        while ((seen & either) == 0) {
            word.wait(seen, std::memory_order_acquire);
            seen = word.load(std::memory_order_acquire);
        }
        return (seen & first) != 0;
    }

private:
    static int spinTurns() noexcept
    {
        static const int turns = std::thread::hardware_concurrency() > 1 ? 500 : 0;
        return turns;
    }

    std::atomic<std::uint32_t> word{0};
};

} // namespace kvdm
