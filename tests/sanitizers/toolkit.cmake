# KX_TOOLKIT_ENVIRONMENT: what a test of a program that starts Qt adds to the options of the sanitizers, as the
# property ENVIRONMENT_MODIFICATION. One element, so that it survives being handed on in lists.

if(KXAPI_SANITIZE MATCHES "thread")
    # Qt is not instrumented: its locks are not seen, its memory accesses are. Ours stay watched.
    set(KX_TOOLKIT_ENVIRONMENT "TSAN_OPTIONS=path_list_append:ignore_noninstrumented_modules=1")
else()
    # Qt has no frame pointers; only with whole stacks a suppression tells who allocated.
    string(CONCAT KX_TOOLKIT_ENVIRONMENT "LSAN_OPTIONS=path_list_append:"
        "suppressions=${CMAKE_CURRENT_LIST_DIR}/lsan.supp:print_suppressions=0:fast_unwind_on_malloc=0")
endif()
