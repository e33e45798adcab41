#pragma once

#include "Item.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <vector>

namespace Bench {

/// Few actions that post each other in a circle, each time for another object: a long chain that is no loop. The
/// objects lie in memory in another order than that of the chain, as those of an application do.
template<class Contender>
class Chain {
public:
    Chain(Contender& itsContender, std::size_t itsLength) : contender(itsContender), objects(itsLength) {
        for (std::size_t i = 0; i < actions.size(); ++i) {
            actions[i].owner = this;
            actions[i].number = i;
        }
        for (Object& object : objects)
            order.push_back(&object);
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
    }

    void begin() {
        step = 0;
        post(nullptr);
    }

    bool isRightAndComplete() const {
        return wrongNumbers == 0 && step == order.size();
    }

private:
    using Action = NumberedAction<Chain>;
    friend Action;

    struct Object {
        char state[64];
    };

    void hasRun(Action& action) {
        wrongNumbers += action.number != step % actions.size() ? 1U : 0U;
        if (++step < order.size())
            post(&action);
    }

    void post(KX::KXAction* trigger) {
        contender.post({&actions[step % actions.size()], trigger, eventTypeOfItems, order[step], step});
    }

    Contender& contender;
    std::array<Action, 16> actions;
    std::vector<Object> objects;
    std::vector<Object*> order;
    std::size_t step = 0;
    std::size_t wrongNumbers = 0;
};

} // namespace Bench
