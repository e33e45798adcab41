#include "Targets.h"
#include "models/KeypadRun.h"

namespace Fuzz {

std::string problemWithKeypad(const std::string& bytes) {
    needToolkit();
    static std::int64_t lastPosition = 0; // all keypads of a process share it
    KX::test::KeypadAccount account;
    KX::test::KeypadRun run(std::string_view(bytes), lastPosition, account);
    std::string operation;
    while (!run.isAtEnd()) {
        const std::string complaint = run.step(operation);
        if (!complaint.empty())
            return operation + ": " + complaint;
    }
    return {};
}

} // namespace Fuzz
