#pragma once

#include <ucontext.h>

#include <cstddef>

namespace KX {

/// A stack between which and others a thread switches. Tells the sanitizers of each switch.
class Stack {
public:
    /// The one on which the thread runs already.
    Stack();

    /// A new one, on which nothing runs yet. The first switch to it calls \p begin, which must not return.
    /// \throws std::system_error  there is no memory
    explicit Stack(void (*begin)());

    ~Stack();

    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    /// From this stack, on which the caller runs. Returns when something switches back.
    void switchTo(Stack& other);

    /// The same, for the last time: nothing may switch back.
    void leaveFor(Stack& other);

    /// To be called first by what begins on a new stack, with the one that switched to it.
    void hasBegunFrom(Stack& other);

private:
    void tellArrivalFrom(Stack& other);

    ucontext_t context{};
    char* memory = nullptr;                        ///< of a new stack
    [[maybe_unused]] const void* bottom = nullptr; ///< for AddressSanitizer, like the next two
    std::size_t size = 0;
    [[maybe_unused]] void* fakeStack = nullptr;
    [[maybe_unused]] void* fiber = nullptr; ///< for ThreadSanitizer
};

} // namespace KX
