// The services of an application over a folder of their own.
#pragma once

#include <gtest/gtest.h>

#include "base/main_queue.h"
#include "shell/preferences.h"
#include "tests/files/fake_mount_table.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {

class IndexTest : public ::testing::Test {
  protected:
    IndexTest() { mounts.mount("/", "ext4", "/dev/kx-sda1"); }

    TemporaryFolder folder;
    SettingsStore store{folder.path("settings.json")};
    Preferences preferences{store};
    ManualClock queueClock;
    RunLoop queue{queueClock};
    NotificationCenter notifications{queue};
    FakeMountTable mounts;
    DiskInfoManager disks{mounts, queue};
};

}  // namespace kestrix
