#include <gtest/gtest.h>

#include <Xm/Label.h>

#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"
#include "tests/fixtures/display.h"

namespace {

TEST(Labels, LabelsKeepTheirText) {
    Widget label = XmCreateLabel(testShell(), const_cast<char*>("label"), nullptr, 0);
    for (const char* text : {"", "one\n\ntwo\n", "caf\xe9", "::t\"x\""}) {
        KvcLabelSetString(label, text);
        EXPECT_STREQ(KviText(KvcLabelGetString(label)).get(), text);
    }
}

}  // namespace
