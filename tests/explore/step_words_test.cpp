#include "explore/step_words.h"

#include <gtest/gtest.h>

namespace {

using explore::EventKind;
using explore::StepOf;

TEST(StepWords, NameWhatAnEventIsAStepOf) {
  EXPECT_EQ(StepOf({EventKind::kRequest, "\"/usr/bin/ipmitool\" raw 0x34 0x8c 0x55 0xaa 0x01 > \"/x\""}),
            "request 34 8c 55 aa 01 (connect or disconnect the virtual media)");
  EXPECT_EQ(StepOf({EventKind::kRequest, "\"/usr/bin/ipmitool\" raw 0x0a 0x23 0x00 0x00 0x01 0x00 > \"/x\""}),
            "request 0a 23 (Get SDR)");
  EXPECT_EQ(StepOf({EventKind::kRequest, "\"/usr/bin/ipmitool\" raw 0x06 0x02 > \"/x\""}), "request 06 02");
  EXPECT_EQ(StepOf({EventKind::kFolder, "/srv/orv/journal"}), "make the folder of the journal");
  EXPECT_EQ(StepOf({EventKind::kFlash, "\"/srv/orv/KV6KBMC/Yafuflash\"  -cd"}), "Yafuflash");
  EXPECT_EQ(StepOf({EventKind::kSystem, "shutdown -h now"}), "shutdown -h");
  EXPECT_EQ(StepOf({EventKind::kPause, "10000 ms"}), "pause of 10000 ms");
  EXPECT_EQ(StepOf({EventKind::kRename, "/srv/orv/repository/state.json"}), "rename the records");
  EXPECT_EQ(StepOf({EventKind::kSync, "/srv/orv"}), "sync the install path");
  EXPECT_EQ(StepOf({EventKind::kSync, "all files"}), "sync all files");
  EXPECT_EQ(StepOf({EventKind::kCreate, "kv6000.ima"}), "create a file of the package");
}

}  // namespace
