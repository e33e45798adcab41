#include "LinuxAdapter.h"

std::unique_ptr<KX::KXPlatformAdapter> KX::makePlatformAdapter() {
    return std::make_unique<LinuxAdapter>();
}
