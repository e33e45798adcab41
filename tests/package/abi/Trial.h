// A small library whose binary interface the macros change.
#pragma once

#include <string>

namespace KX {

enum class TrialColour {
    Red,
#ifdef OTHER_NUMBERS
    Yellow,
#endif
    Green,
#ifdef NEW_NUMBER
    Blue,
#endif
};

struct TrialPlace {
#ifdef OTHER_ORDER_OF_MEMBERS
    int y;
    int x;
#else
    int x;
    int y;
#endif
};

class Trial {
public:
    virtual ~Trial();
#ifdef OTHER_ORDER_OF_VIRTUALS
    virtual int second();
    virtual int first();
#else
    virtual int first();
    virtual int second();
#endif
#ifdef NEW_VIRTUAL
    virtual int third();
#endif
#ifdef NEW_METHOD
    int method();
#endif

private:
    int value = 0;
#ifdef NEW_MEMBER
    int other = 0;
#endif
#ifdef LARGER_MEMBER_OF_THE_STANDARD_LIBRARY
    std::wstring names[2];
#else
    std::string name;
#endif
};

#ifdef OTHER_ARGUMENT
TrialPlace move(TrialPlace place, long distance);
#elif defined(OTHER_NAMES)
TrialPlace move(TrialPlace from, int steps);
#else
TrialPlace move(TrialPlace place, int distance);
#endif
TrialColour nextColour(TrialColour colour);
#ifndef GONE_FUNCTION
std::string nameOf(const Trial& trial);
#endif
#ifdef NEW_FUNCTION
int newFunction(const Trial& trial);
#endif

} // namespace KX
