#pragma once

#include "ActionProgram.h"

#include <functional>
#include <string>

namespace KX::test {

/// Plays the actions of a program and notes every call.
class ActionPlayer {
public:
    using Post = std::function<void(const ActionProgram::Post&)>;
    using TimePasses = std::function<void(unsigned int ms)>;

    ActionPlayer(const ActionProgram& playedProgram, Post howToPost, TimePasses howTimePasses)
        : program(playedProgram), post(std::move(howToPost)), timePasses(std::move(howTimePasses)) {}

    bool isReady(int action) {
        Calls& count = callsOf(action);
        const auto& script = program.actions[static_cast<std::size_t>(action)];
        const std::size_t turn = count.questions++ % script.questions.size();
        trace += " ?" + std::to_string(action);
        play(script.questions[turn]);
        return script.isReady[turn] != count.isTurnedOver;
    }

    void execute(int action, int triggeringType) {
        const auto& script = program.actions[static_cast<std::size_t>(action)];
        const std::size_t turn = callsOf(action).runs++ % script.runs.size();
        trace += " !" + std::to_string(action) + "(" + std::to_string(triggeringType) + ")";
        play(script.runs[turn]);
    }

    void postWithinLimit(const ActionProgram::Post& wanted) {
        if (posted == program.postLimit)
            return;
        ++posted;
        foreignPosts += wanted.isForeign;
        post(wanted);
    }

    std::string trace;
    unsigned int foreignPosts = 0;

private:
    struct Calls {
        std::size_t runs = 0;
        std::size_t questions = 0;
        bool isTurnedOver = false;
    };

    Calls& callsOf(int action) { return calls[static_cast<std::size_t>(action)]; }

    void play(const ActionProgram::Run& run) {
        if (run.takesMs > 0)
            timePasses(run.takesMs);
        if (run.makesReady != ActionProgram::nobody)
            callsOf(run.makesReady).isTurnedOver = !callsOf(run.makesReady).isTurnedOver;
        int done = 0;
        for (const auto& wanted : run.posts) {
            if (done++ == run.failsAfter)
                throw ActionFailed();
            postWithinLimit(wanted);
        }
        if (done == run.failsAfter)
            throw ActionFailed();
    }

    const ActionProgram& program;
    Post post;
    TimePasses timePasses;
    std::array<Calls, ActionProgram::actionCount> calls{};
    unsigned int posted = 0;
};

} // namespace KX::test
