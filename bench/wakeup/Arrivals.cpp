#include "bench/wakeup/Arrivals.h"

Arrivals::Arrivals() {
    sem_init(&taken, 0, 0);
}

Arrivals::~Arrivals() {
    sem_destroy(&taken);
}

void Arrivals::getReady() {
    sem_post(&taken);
}

bool Arrivals::take(std::uint32_t number) {
    takenAt = Clock::now();
    if (number == lastNumber)
        return false;
    order.take(number);
    sem_post(&taken);
    return true;
}

void Arrivals::wait() {
    while (sem_wait(&taken) != 0) {
        // EINTR: somebody's signal, a debugger's for instance
    }
}

Arrivals::Clock::time_point Arrivals::getTakenAt() const {
    return takenAt;
}

const Bench::OrderCheck& Arrivals::getOrder() const {
    return order;
}
