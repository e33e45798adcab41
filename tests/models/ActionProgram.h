#pragma once

#include "RandomRun.h"

#include <array>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace KX::test {

/// A random program of actions that post each other. The queue and the model play it. It does the same on both as
/// long as both call the actions alike.
struct ActionProgram {
    static constexpr int actionCount = 5;
    static constexpr int objectCount = 3;
    static constexpr int nobody = -1; // a null action, event or object

    struct Post {
        int action;
        int event;
        int object;
        bool isForeign; // from another thread, which ends before the program goes on
    };

    /// What an action does once.
    struct Run {
        std::vector<Post> posts;
        unsigned int takesMs = 0;
        int makesReady = nobody; // toggles the readiness of this action
        int failsAfter = nobody; // after so many of its posts
    };

    struct Action {
        std::vector<Run> runs;      // in turn, from the first again after the last
        std::vector<Run> questions; // what isReady does, in turn
        std::vector<bool> isReady;  // its results, in turn
    };

    struct Drain {
        std::vector<Post> postsBefore;
        bool detectLoops;
        bool isForeign; // drained by another thread than usual
        unsigned int passingMs;
        int deadlineMs; // from then
    };

    std::array<Action, actionCount> actions;
    std::vector<int> eventTypes;
    std::vector<Drain> drains;
    unsigned int startTick = 0;
    unsigned int postLimit = 0; // of the whole program, so that it ends
};

/// The exception of an action.
struct ActionFailed : std::runtime_error {
    ActionFailed() : std::runtime_error("the action failed") {}
};

class RandomProgram {
public:
    explicit RandomProgram(Random& theRandom) : random(theRandom) {}

    ActionProgram make() {
        program = ActionProgram();
        // Few different items, so that chains repeat them.
        usedActions = random.between(1, ActionProgram::actionCount);
        usedObjects = random.between(1, ActionProgram::objectCount);
        isPlain = random.oneIn(2);
        for (int types = random.between(1, 3); types > 0; --types)
            program.eventTypes.push_back(eventType());
        for (auto& action : program.actions)
            action = randomAction();
        program.startTick = random.oneIn(4) ? 0U - random.below(30) : random.word();
        program.postLimit = random.oneOf({5U, 20U, 40U, 60U});
        for (int drains = random.between(1, 4); drains > 0; --drains)
            program.drains.push_back(drain());
        return program;
    }

private:
    int eventType() {
        return random.oneIn(6) ? random.oneOf({0, 34, 9999, 10000, random.anyInt()})
                               : random.oneOf({24, 25, 700, -1, std::numeric_limits<int>::min(), 34});
    }

    ActionProgram::Post post() {
        ActionProgram::Post post{};
        post.action = random.oneIn(60) ? ActionProgram::nobody : random.between(0, usedActions - 1);
        post.event = random.oneIn(isPlain ? 60 : 8)
                         ? ActionProgram::nobody
                         : random.between(0, static_cast<int>(program.eventTypes.size()) - 1);
        post.object = random.oneIn(isPlain ? 60 : 8) ? ActionProgram::nobody : random.between(0, usedObjects - 1);
        post.isForeign = random.oneIn(isPlain ? 400 : 40);
        return post;
    }

    std::vector<ActionProgram::Post> posts(int most) {
        std::vector<ActionProgram::Post> result(static_cast<std::size_t>(random.between(0, most)));
        for (auto& each : result)
            each = post();
        return result;
    }

    ActionProgram::Run run() {
        ActionProgram::Run run;
        run.posts = posts(random.oneOf({1, 2, 4}));
        run.takesMs = random.oneIn(4) ? random.below(12) : 0;
        if (random.oneIn(12))
            run.makesReady = random.between(0, usedActions - 1);
        if (random.oneIn(isPlain ? 200 : 30))
            run.failsAfter = random.between(0, static_cast<int>(run.posts.size()));
        return run;
    }

    ActionProgram::Run question() {
        ActionProgram::Run run;
        if (random.oneIn(isPlain ? 400 : 20))
            run = this->run();
        return run;
    }

    ActionProgram::Action randomAction() {
        ActionProgram::Action action;
        for (int runs = random.between(1, 4); runs > 0; --runs) {
            action.runs.push_back(run());
            action.questions.push_back(question());
            action.isReady.push_back(!random.oneIn(isPlain ? 50 : 8));
        }
        return action;
    }

    ActionProgram::Drain drain() {
        ActionProgram::Drain drain{};
        drain.postsBefore = posts(4);
        drain.detectLoops = !random.oneIn(4);
        drain.isForeign = random.oneIn(40);
        drain.passingMs = random.oneIn(3) ? random.below(10) : 0;
        drain.deadlineMs = random.oneIn(2) ? random.between(-3, 25) : std::numeric_limits<int>::max();
        return drain;
    }

    Random& random;
    ActionProgram program;
    int usedActions = 1;
    int usedObjects = 1;
    bool isPlain = true; // mostly chains of actions, so that loops occur
};

} // namespace KX::test
