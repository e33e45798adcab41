#!/usr/bin/env bash
# refuses.sh COMPILER OPTIONS...: with the options of the build, clang accepts an access under the lock and refuses
# one without it, for each kind of lock.
set -euo pipefail
compiler=("$@")

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# compile STATEMENTS: as the body of a function that may use a member of each kind of lock.
compile() {
    "${compiler[@]}" -fsyntax-only -x c++ - 2>&1 <<END
#include "actions/KXActionQueue.h"
#include "platform/KXLocks.h"
#include "platform/KXMutex.h"

struct Shared {
    void change();

    KX::KXStdMutex mutex;
    int value KX_GUARDED_BY(mutex) = 0;
    KX::KXMutex* platformMutex = nullptr;
    int other KX_GUARDED_BY(platformMutex) = 0;
    KX::KXActionQueue queue;
};

void Shared::change() {
    $1
}
END
}

accept() {
    local output
    output=$(compile "$1") || fail "clang refuses: $1: $output"
}

# refuse MESSAGE STATEMENTS
refuse() {
    local output
    ! output=$(compile "$2") || fail "clang accepts: $2"
    grep -q -e "error: $1.*-Wthread-safety" <<<"$output" || fail "clang has another reason to refuse: $2: $output"
}

accept 'const KX::KXLockGuard guard(mutex); value = 1;'
refuse 'writing variable' 'value = 1;'
refuse 'reading variable' 'if (value == 0) return;'
refuse 'writing variable' '{ const KX::KXLockGuard guard(mutex); } value = 1;'

accept 'KX::KXUniqueLock guard(mutex); guard.unlock(); guard.lock(); value = 1;'
refuse 'writing variable' 'KX::KXUniqueLock guard(mutex); guard.unlock(); value = 1;'
refuse 'acquiring mutex' 'KX::KXUniqueLock guard(mutex); const KX::KXLockGuard second(mutex);'

accept 'const KX::KXAutoLock guard(platformMutex); other = 1;'
accept 'if (platformMutex->lock()) { other = 1; platformMutex->unlock(); }'
refuse 'writing variable' 'other = 1;'
refuse 'writing variable' 'if (!platformMutex->lock()) other = 1; else platformMutex->unlock();'
refuse 'mutex .* is not held on every path' 'if (platformMutex->lock()) other = 1;'

accept 'const KX::KXLockGuard guard(queue.mutex); queue.pendingItems.clear();'
refuse 'reading variable' 'queue.pendingItems.clear();'
