# KX_TOOLKIT_ENVIRONMENT: sanitizer options for tests of programs with Qt, for the property
# ENVIRONMENT_MODIFICATION. It is one list element, so that other lists can contain it.

if(KXAPI_SANITIZE MATCHES "thread")
    # Qt is not instrumented: the sanitizer sees its memory accesses but not its locks. Our code stays checked.
    set(KX_TOOLKIT_ENVIRONMENT "TSAN_OPTIONS=path_list_append:ignore_noninstrumented_modules=1")
else()
    # Qt has no frame pointers; suppressions need whole stacks to find the allocating function.
    string(CONCAT KX_TOOLKIT_ENVIRONMENT "LSAN_OPTIONS=path_list_append:"
        "suppressions=${CMAKE_CURRENT_LIST_DIR}/lsan.supp:print_suppressions=0:fast_unwind_on_malloc=0")
endif()
