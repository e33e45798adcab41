#pragma once

#include "Item.h"

#include <cstddef>
#include <vector>

namespace Bench {

/// As many actions as will wait at once. Each knows its place, and all tell whether they run in that order.
class Waiting {
public:
    explicit Waiting(std::size_t number) : actions(number) {
        for (std::size_t i = 0; i < number; ++i) {
            actions[i].owner = this;
            actions[i].number = i;
        }
    }

    template<class Contender>
    void postTo(Contender& contender) {
        next = 0;
        for (Action& action : actions)
            contender.post({&action, nullptr, eventTypeOfItems, &action, 0});
    }

    bool isRightAndComplete() const {
        return wrongNumbers == 0 && next == actions.size();
    }

private:
    using Action = NumberedAction<Waiting>;
    friend Action;

    void hasRun(const Action& action) {
        wrongNumbers += action.number != next ? 1U : 0U;
        next = action.number + 1;
    }

    std::vector<Action> actions;
    std::size_t next = 0;
    std::size_t wrongNumbers = 0;
};

} // namespace Bench
