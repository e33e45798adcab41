#include "Trial.h"

namespace KX {

Trial::~Trial() = default;
int Trial::first() {
    return value;
}
int Trial::second() {
    return 2;
}
#ifdef NEW_VIRTUAL
int Trial::third() {
    return 3;
}
#endif
#ifdef NEW_METHOD
int Trial::method() {
    return value;
}
#endif

#ifdef OTHER_ARGUMENT
TrialPlace move(TrialPlace place, long distance) {
    return {place.x + static_cast<int>(distance), place.y};
}
#else
TrialPlace move(TrialPlace place, int distance) {
    return {place.x + distance, place.y};
}
#endif
TrialColour nextColour(TrialColour colour) {
    return colour == TrialColour::Red ? TrialColour::Green : TrialColour::Red;
}
#ifndef GONE_FUNCTION
std::string nameOf(const Trial&) {
    return "trial";
}
#endif
#ifdef NEW_FUNCTION
int newFunction(const Trial&) {
    return 1;
}
#endif

} // namespace KX
