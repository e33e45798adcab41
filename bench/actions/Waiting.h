#pragma once

#include "Item.h"
#include "events/KXEventType.h"

#include <cstddef>
#include <vector>

namespace Bench {

/// As many actions as will wait at once. Each knows its place, and all tell whether they run in that order.
class Waiting {
public:
    explicit Waiting(std::size_t number) : actions(number) {
        for (std::size_t i = 0; i < number; ++i) {
            actions[i].all = this;
            actions[i].number = i;
        }
    }

    template<class Contender>
    void postTo(Contender& contender) {
        next = 0;
        for (Action& action : actions) {
            contender.post({&action, nullptr, KX::KEY_PRESS_EVENT, &action, 0});
        }
    }

    bool isRightAndComplete() const {
        return wrongNumbers == 0 && next == actions.size();
    }

private:
    class Action : public KX::KXAction {
    public:
        bool isReady() override {
            return true;
        }

        void execute(void*) override {
            all->wrongNumbers += number != all->next ? 1U : 0U;
            all->next = number + 1;
        }

        Waiting* all = nullptr;
        std::size_t number = 0;
    };

    std::vector<Action> actions;
    std::size_t next = 0;
    std::size_t wrongNumbers = 0;
};

} // namespace Bench
