#include "tests/faults/Fault.h"

#include "tests/support/HeapCount.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

// Without a sanitizer there is none.
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* descriptor);

namespace KX::test {

namespace {

std::atomic<Fault*> armedFault{nullptr};
std::atomic<bool> othersMeetIt{false};

// The thread that runs the operation.
thread_local bool isTestThread __attribute__((tls_model("initial-exec"))) = false;

/// The code of the project, and that of the C++ library.
class CountedCode {
public:
    CountedCode() { dl_iterate_phdr(&add, this); }

    bool contains(const void* code) const {
        const auto place = reinterpret_cast<std::uintptr_t>(code);
        return std::any_of(ranges.begin(), ranges.begin() + count,
                           [place](const Range& range) { return place >= range.begin && place < range.end; });
    }

private:
    struct Range {
        std::uintptr_t begin, end;
    };

    static bool isCounted(const char* library) {
        const bool isProgram = *library == '\0'; // its objects of the library, and templates
        return isProgram || std::strstr(library, "/libKXAPI_") || std::strstr(library, "/libstdc++");
    }

    static int add(dl_phdr_info* library, std::size_t, void* code) {
        auto& self = *static_cast<CountedCode*>(code);
        if (!isCounted(library->dlpi_name))
            return 0;
        for (int i = 0; i < library->dlpi_phnum; ++i) {
            const auto& segment = library->dlpi_phdr[i];
            if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0 || self.count == self.ranges.size())
                continue;
            const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
            self.ranges[self.count++] = {begin, begin + segment.p_memsz};
        }
        return 0;
    }

    std::array<Range, 64> ranges{};
    std::size_t count = 0;
};

/// The fault that \p caller meets on this thread; null: none.
Fault* faultFor(const void* caller) {
    Fault* const fault = armedFault;
    if (!fault || isTestThread == othersMeetIt)
        return nullptr;
    static const CountedCode countedCode;
    return countedCode.contains(caller) ? fault : nullptr;
}

/// Standard error while a fault lives, in memory: nobody reads the lines of thousands of faults.
struct CapturedError {
    const int former = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    const int memory = memfd_create("lines", MFD_CLOEXEC);
};

CapturedError& capturedError() {
    static CapturedError captured;
    return captured;
}

long linesLength() {
    return static_cast<long>(lseek(capturedError().memory, 0, SEEK_END));
}

[[noreturn]] void tellFaultAndAbort() {
    dup2(capturedError().former, STDERR_FILENO);
    if (const Fault* const fault = armedFault)
        std::fprintf(stderr, "terminated when %s\n", fault->describe().c_str());
    std::abort();
}

} // namespace

Fault::Fault(Kind faultKind, unsigned int countedNumber, std::size_t errorIndex)
    : kind(faultKind), number(countedNumber), index(errorIndex), linesBegin(linesLength()) {
    dup2(capturedError().memory, STDERR_FILENO);
    if (__sanitizer_set_report_fd)
        __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(capturedError().former)));
    std::set_terminate(tellFaultAndAbort);
}

Fault::~Fault() {
    dup2(capturedError().former, STDERR_FILENO);
}

Fault::Watch::Watch(Fault& fault, Threads threads) {
    faultFor(nullptr); // looks at the code once
    isTestThread = true;
    othersMeetIt = threads == OtherThreads;
    failsAllocation = [](const void* caller) {
        Fault* const met = faultFor(caller);
        return met && met->failsNextAllocation();
    };
    armedFault = &fault;
}

Fault::Watch::~Watch() {
    armedFault = nullptr;
    failsAllocation = nullptr;
    isTestThread = false;
}

bool Fault::failsNextAllocation() {
    if (!isOfMemory())
        return false;
    const unsigned int allocation = ++count;
    const bool fails = kind == Kind::OneAllocation ? allocation == number : allocation >= number;
    happened = happened || fails;
    return fails;
}

int Fault::nextError(const SystemCall& call) {
    if (kind != Kind::SystemCall || call.errorCount == 0 || ++count != number)
        return 0;
    failedCall = call.name;
    if (index >= call.errorCount) {
        isBeyondErrors = true;
        return 0;
    }
    givenError = call.errors[index];
    happened = true;
    return givenError;
}

bool Fault::isOf(const char* call) const {
    return happened && failedCall && std::strcmp(failedCall, call) == 0;
}

std::string Fault::getLines() const {
    std::string lines(static_cast<std::size_t>(linesLength() - linesBegin), '\0');
    const ssize_t taken = pread(capturedError().memory, lines.data(), lines.size(), linesBegin);
    lines.resize(static_cast<std::size_t>(std::max<ssize_t>(taken, 0)));
    return lines;
}

std::string Fault::describe() const {
    const std::string position = std::to_string(number);
    switch (kind) {
    case Kind::Nothing: return "nothing fails";
    case Kind::OneAllocation: return "allocation " + position + " fails";
    case Kind::AllAllocations: return "no memory is left from allocation " + position + " on";
    case Kind::SystemCall: break;
    }
    if (!failedCall)
        return "call " + position + " was not reached";
    return "call " + position + ", " + std::string(failedCall.load()) + ", fails with " +
           strerrorname_np(givenError);
}

int FaultAccess::errorFor(const SystemCall& call, const void* caller) {
    Fault* const fault = faultFor(caller);
    return fault ? fault->nextError(call) : 0;
}

bool FaultAccess::failsPlainMutexes() {
    const Fault* const fault = armedFault;
    return fault && fault->failsPlainMutexes;
}

} // namespace KX::test
