#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Fuzz {

// Each takes any bytes and says what is wrong; empty when nothing is.

/// As a recording, or as the log of a CAN bus: a usable one stays the same when it is written and read again.
std::string problemWithRecording(const std::string& bytes);

/// As a recording that is played twice: both plays give the same events.
std::string problemWithReplay(const std::string& bytes);

/// As the layout of a keypad: a usable one stays the same when it is written and read again.
std::string problemWithLayout(const std::string& bytes);

/// As lines of a log of a CAN bus: a frame stays the same when it is written and read again.
std::string problemWithLog(const std::string& bytes);

/// As arguments of kxcan, one a line.
std::string problemWithArguments(const std::string& bytes);

/// As the value of KX_DEBUG: each entry counts or is told, and levels are those of a plain search.
std::string problemWithDebugLevels(const std::string& bytes);

/// As layouts of a keypad and frames: keys and lines are those of the model.
std::string problemWithKeypad(const std::string& bytes);

/// As records of a pipe: an event stays the same on its way through the queue, and the toolkit takes its key.
std::string problemWithRecords(const std::string& bytes);

/// As a program of actions that post each other: the queue does what the model does.
std::string problemWithActions(const std::string& bytes);

/// \return what the named check says
/// \throws std::runtime_error  there is none of that name
std::string problemOf(const std::string& name, const std::string& bytes);

/// Messages go to a terminal, which must not get raw bytes of a stranger's file.
bool isPrintable(const std::string& words);

/// The QApplication, made at the first call. It needs no display.
void needToolkit();

} // namespace Fuzz
