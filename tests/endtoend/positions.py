"""Where things are in a window of 1024x768, in its pixels. docs/pictures/make draws such a window."""

SOFT_KEYS = [(68 + 127 * number, 158) for number in range(8)]
KEYPAD_KEYS = [(45 + 64 * (number % 8), 262 + 76 * (number // 8)) for number in range(16)]
KNOB = (593, 300)
BESIDE_EVERYTHING = (760, 300)
LOOP_BUTTON = (935, 351)
INPUT_OFF_BANNER = (400, 82)
EDGE_OF_SETTINGS_BUTTON = (346, 390)

# On the page of the settings, with and without the line that a recording adds below.
DOUBLE_PRESS_MINUS = (315, 488)
LONG_PRESS_MINUS = (825, 488)
RESTORE_DEFAULTS = (970, 677)
ACCEPT_INPUT_SWITCH = (453, 677)

# In a window of 800x480, on the page of the keypad.
FIRST_KEY_ON_SMALL_SCREEN = (90, 268)
