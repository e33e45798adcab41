#include "Targets.h"
#include "models/ActionRun.h"

namespace Fuzz {

std::string problemWithActions(const std::string& bytes) {
    static const bool isExecuting = [] {
        KX::KXSimulation::reset();
        KX::test::beTheExecutingThread();
        return true;
    }();
    static_cast<void>(isExecuting);
    KX::test::Random random{std::string_view(bytes)};
    const KX::test::ActionProgram program = KX::test::RandomProgram(random).make();
    KX::test::ActionAccount account;
    return KX::test::ProgramRun(program, account).play();
}

} // namespace Fuzz
