// Status merging, and the log flags that the first start reads.
#include <gtest/gtest.h>

#include <string>

#include "companions/con/status.h"
#include "fixtures/cine_builder.h"
#include "frame/plugins.h"
#include "frame/start.h"
#include "support/log_to_file.h"
#include "xefile/xefile.h"

namespace {

using Settings = testsupport::LogToFile;

TEST(MergeStatus, LatestFailureWinsAndAWarningNeverHidesAFailure) {
  struct Case {
    int32_t status, result, merged;
  };
  const Case cases[] = {
      {0, 0, 0},           {0, -2013, -2013},    {-2013, -2015, -2015}, {-2013, 2006, -2013},
      {-2013, 0, -2013},   {0, 2007, 2007},      {2007, 2006, 2006},    {2006, 0, 2006},
      {2006, -2012, -2012}, {121, -1, -1},
  };
  for (const Case &c : cases)
    EXPECT_EQ(xe::MergeStatus(c.status, c.result), c.merged) << c.status << " with " << c.result;

  int32_t s = 0;
  for (int32_t r : {2007, -2013, 2006, 0, -2015, 2002}) xe::Merge(s, r);
  EXPECT_EQ(s, -2015);
}

TEST(LogFlags, ComeFromTheSettingsAtTheFirstStartOnly) {
  Settings settings(false);
  xe::frame::SetPluginDirectory(fixture::TestTmpRoot() + "/no-plugins-here");
  ASSERT_EQ(xe::frame::StartCount(), 0u);
  ASSERT_EQ(xe::con::XefSetRegistryVal("LogFlags", "1"), XE_OK);
  xe::frame::LogFlags = 0;

  EXPECT_EQ(xe::frame::StartInternal(), XE_WARN_NO_IMAGING);
  EXPECT_EQ(xe::frame::LogFlags.load(), 1u);

  // A nested start does not read the setting again, and a stop keeps the flags.
  ASSERT_EQ(xe::con::XefSetRegistryVal("LogFlags", "0"), XE_OK);
  EXPECT_EQ(xe::frame::StartInternal(), XE_OK);
  EXPECT_EQ(xe::frame::LogFlags.load(), 1u);
  xe::frame::Stop();
  xe::frame::Stop();
  EXPECT_EQ(xe::frame::LogFlags.load(), 1u);

  // The next first start does.
  EXPECT_EQ(xe::frame::StartInternal(), XE_WARN_NO_IMAGING);
  EXPECT_EQ(xe::frame::LogFlags.load(), 0u);
  xe::frame::Stop();
  xe::frame::SetPluginDirectory("");
}

}  // namespace
