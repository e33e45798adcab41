# libKXAPI_Events: the objects of events/, encoder/, actions/ and input/, compiled once.
#
# Linked with the real platform they are the shared library; tests and replays link the same objects with the
# simulated platform instead.

kx_add_shared_library(KXAPI_Events Events)
target_link_libraries(KXAPI_Events
    PUBLIC KXAPI_OS_ABS KXAPI_Hardware KXAPI_Utility Boost::thread
    PRIVATE KXAPI_Events_objects Qt5::Core Qt5::Gui Qt5::Widgets)
