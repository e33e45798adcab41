#pragma once

#include "platform/KXExport.h"

#include <string>

/// Calls X(number, NAME) for every event type, in rising order. This is the only list of event types.
///
/// Applications and logs know these numbers and names. So they never change, irregular names included, and unused
/// numbers stay unnamed.
// clang-format off
#define KX_FOR_EACH_EVENT_TYPE(X) \
    X(0, UNKNOWN_EVENT)                                    \
    X(1, WORKING_SET_ACTIVE_EVENT)                         \
    X(2, WORKING_SET_DEACTIVE_EVENT)                       \
    X(3, SHOW_EVENT)                                       \
    X(4, HIDE_EVENT)                                       \
    X(5, ENABLE_EVENT)                                     \
    X(6, DISABLE_EVENT)                                    \
    X(7, CHANGE_ACTIVE_DATAMASK_EVENT)                     \
    X(8, CHANGE_SOFTKEY_MASK_EVENT)                        \
    X(9, CHANGE_ATTRIBUTE_EVENT)                           \
    X(10, CHANGE_BACKGROUND_COLOR_EVENT)                   \
    X(11, CHANGE_FONT_ATTRIBUTES_EVENT)                    \
    X(12, CHANGE_LINE_ATTRIBUTES_EVENT)                    \
    X(13, CHANGE_FILL_ATTRIBUTES_EVENT)                    \
    X(14, CHANGE_CHILD_LOCATION_EVENT)                     \
    X(15, CHANGE_SIZE_EVENT)                               \
    X(16, CHANGE_VALUE_EVENT)                              \
    X(17, CHANGE_PRIORITY_EVENT)                           \
    X(18, CHANGE_END_POINT_EVENT)                          \
    X(19, ENABLED_WITH_FOCUS_EVENT)                        \
    X(20, FOCUS_LOST_EVENT)                                \
    X(21, ESCAPE_EVENT)                                    \
    X(22, CONFIRM_EDITED_VALUE_EVENT)                      \
    X(23, CONFIRM_NEW_EDITED_VALUE_EVENT)                  \
    X(24, KEY_PRESS_EVENT)                                 \
    X(25, KEY_RELEASE_EVENT)                               \
    X(26, CHANGE_CHILD_POSITION_EVENT)                     \
    X(27, ADD_OBJECT_POOL_EVENT)                           \
    X(28, DELETE_OBJECT_POOL_EVENT)                        \
    X(29, SELECT_INPUT_OBJECT_EVENT)                       \
    X(30, ESCAPE_INPUT_EVENT)                              \
    X(31, SHOW_AUX_SCREEN_EVENT)                           \
    X(32, REFRESH_AUX_SCREEN_EVENT)                        \
    X(33, RECREATE_AUX_SCREEN_DDOS_EVENT)                  \
    X(35, SHOW_ALARM_IN_SETTINGS_PROJECT)                  \
    X(36, TRIGGER_ALARM)                                   \
    X(37, AUX_INPUT_UNIT_DEAD_EVENT)                       \
    X(100, DELETE_OBJECT_POOL_CONFIRM_EVENT)               \
    X(101, REMOVE_POOL_WIDGETS_EVENT)                      \
    X(102, REMOVE_POOL_WIDGETS_CONFIRM_EVENT)              \
    X(103, CLEAR_J1939_ECUS_EVENT)                         \
    X(200, TOOLKIT_MOUSE_PRESS_EVENT)                      \
    X(201, TOOLKIT_MOUSE_RELEASE_EVENT)                    \
    X(202, TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT)               \
    X(203, TOOLKIT_MOUSE_MOVE_EVENT)                       \
    X(204, TOOLKIT_MOUSE_ENTER_EVENT)                      \
    X(205, TOOLKIT_MOUSE_EXIT_EVENT)                       \
    X(206, TOOLKIT_WHEEL_EVENT)                            \
    X(207, TOOLKIT_CLICK_EVENT)                            \
    X(208, TOOLKIT_MOUSE_ESCAPE_EVENT)                     \
    X(300, TOOLKIT_KEY_PRESS_EVENT)                        \
    X(301, TOOLKIT_KEY_RELEASE_EVENT)                      \
    X(302, TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT)            \
    X(303, TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT)          \
    X(400, TOOLKIT_WINDOW_ACTIVE_EVENT)                    \
    X(401, TOOLKIT_WINDOW_DEACTIVE_EVENT)                  \
    X(410, TOOLKIT_HIDE_EVENT)                             \
    X(500, KEY_LONG_PRESS_EVENT)                           \
    X(501, KEY_DOUBLE_PRESS_EVENT)                         \
    X(502, KEY_LONG_RELEASE_EVENT)                         \
    X(600, MOUSE_PRESS_EVENT)                              \
    X(601, MOUSE_RELEASE_EVENT)                            \
    X(602, MOUSE_MOVE_EVENT)                               \
    X(603, MOUSE_ENTER_EVENT)                              \
    X(604, MOUSE_EXIT_EVENT)                               \
    X(605, MOUSE_LONG_PRESS_EVENT)                         \
    X(606, MOUSE_DOUBLE_PRESS_EVENT)                       \
    X(607, MOUSE_LONG_RELEASE_EVENT)                       \
    X(608, MOUSE_ESCAPE_EVENT)                             \
    X(700, ENCODER_MOVE_EVENT)                             \
    X(800, POWER_MANAGEMENT_TIMEOUT_EVENT)                 \
    X(801, POWER_MANAGEMENT_DEVICE_STATE_EVENT)            \
    X(802, POWER_MANAGEMENT_POWER_STATE_EVENT)             \
    X(803, POWER_MANAGEMENT_POWER_STATE_CHANGE_EVENT)      \
    X(804, POWER_MANAGEMENT_PROPAGATION_TIME_CHANGE_EVENT) \
    X(900, IO_TOGGLE_EVENT)                                \
    X(1000, OPEN_FOR_INPUT_EVENT)                          \
    X(1001, ENABLED_OUTPUT_EVENT)                          \
    X(1002, DISABLED_EVENT)                                \
    X(1003, CHANGE_EDITED_VALUE_EVENT)                     \
    X(1004, CHANGE_INPLACE_VALUE_EVENT)                    \
    X(1005, CONFIRM_INPLACE_VALUE_EVENT)                   \
    X(1009, JUMP_TO_PAGE_EVENT)                            \
    X(1100, VARIABLE_VALUE_CHANGED_EVENT_INT)              \
    X(1101, VARIABLE_VALUE_CHANGED_EVENT_STRING)           \
    X(1103, VARIABLE_GET_VALUE_RESPONSE_EVENT_INT)         \
    X(1104, VARIABLE_GET_VALUE_RESPONSE_EVENT_STRING)      \
    X(1200, VARIABLE_CHANGE_EVENT_BY_OWNER)                \
    X(1201, VARIABLE_CHANGE_REQUEST_EVENT_INT)             \
    X(1202, VARIABLE_CHANGE_REQUEST_EVENT_STRING)          \
    X(1203, VARIABLE_VALIDITY_CHANGED)                     \
    X(1300, PROTOCOL_TIMEOUT_EVENT)                        \
    X(1301, CAN_MAPPING_TIMEOUT_EVENT)                     \
    X(1302, CAN_MAPPING_TIMEOUT_RESOLVED_EVENT)            \
    X(1303, HEARTBEAT_TIMEOUT_EVENT)                       \
    X(1304, HEARTBEAT_TIMEOUT_RESOLVED_EVENT)              \
    X(1305, J1939_TP_MESSAGE_SEND)                         \
    X(1400, LOG_TIMER1_EXPIRED_EVENT)                      \
    X(1401, LOG_TIMER2_EXPIRED_EVENT)                      \
    X(1402, LOG_TIMER3_EXPIRED_EVENT)                      \
    X(1500, APPLICATION_INIT_EVENT)                        \
    X(1501, APPLICATION_REPEAT_EVENT)                      \
    X(1502, APPLICATION_EXIT_EVENT)                        \
    X(1505, APPLICATION_INIT_FINISHED_EVENT)               \
    X(1600, SCREEN_INIT_EVENT)                             \
    X(1601, SCREEN_REPEAT_EVENT)                           \
    X(1602, SCREEN_EXIT_EVENT)                             \
    X(1603, SCREEN_INIT_FINISHED_EVENT)                    \
    X(1700, STATE_CHANGED_EVENT)                           \
    X(1800, PROPERTY_CHANGE_EVENT)                         \
    X(1803, SET_PROPERTY_IN_ALL_WIDGETS_EVENT)             \
    X(1805, CLEAN_UP_EVENT)                                \
    X(2000, TIMER_TIMEOUT_EVENT)                           \
    X(2100, MEDIA_EVENT)                                   \
    X(9999, KX_MAX_EVENT_TYPE_NUMBER)
// clang-format on

namespace KX {

/// What happened. Events carry it as a plain int, and applications may use numbers that have no name here.
enum KXEventType : int {
#define KX_EVENT_TYPE_ENUMERATOR(number, name) name = number,
    KX_FOR_EACH_EVENT_TYPE(KX_EVENT_TYPE_ENUMERATOR)
#undef KX_EVENT_TYPE_ENUMERATOR
};

/// The name of an event type, spelled as its enumerator; "UnknownEventType(34)" for a number without one.
///
/// Any thread; takes no lock.
KX_EVENTS_API std::string translateEventTypeToString(int type);

} // namespace KX
