// Status merging, the standard messages, message reports and the log that
// the start switches on.
#include <gtest/gtest.h>

#include <string>

#include "fixtures/cine_builder.h"
#include "support/log_to_file.h"
#include "frame/messages.h"
#include "frame/plugins.h"
#include "frame/start.h"
#include "frame/status.h"
#include "xefile/xefile.h"

namespace {

using testsupport::Contains;
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

TEST(StandardMessages, ReachTheLogOnlyWhenEnabled) {
  Settings settings(false);
  xe::frame::LogFlags = 1;
  EXPECT_EQ(XefEnableXefileMessages(0), 0);
  xe::ShowTableMessage(18);
  xe::ShowTableMessage(xe::kMsgCannotAllocate);
  EXPECT_EQ(settings.Text(), "");

  EXPECT_EQ(XefEnableXefileMessages(1), 0);
  xe::ShowTableMessage(18);
  xe::ShowTableMessage(5);
  xe::ShowTableMessage(17);
  std::string log = settings.Text();
  EXPECT_TRUE(Contains(log, ": Undefined Error!")) << log;
  EXPECT_TRUE(Contains(log, ": Error opening file!")) << log;
  EXPECT_TRUE(Contains(log, ": Cine is not available, you must record one first!")) << log;

  EXPECT_STREQ(xe::TableMessageText(0), "Not an image file!");
  EXPECT_STREQ(xe::TableMessageText(0xFFFFFFFFu), "Undefined Error!");
}

TEST(Reports, AreLoggedWithTheirCaptionAndAnswerZero) {
  Settings settings(false);
  EXPECT_EQ(xe::ReportMessage(nullptr, "quiet", "Caption", xe::kStyleError), 0);
  EXPECT_EQ(settings.Text(), "") << "nothing is logged while logging is off";

  xe::frame::LogFlags = 1;
  EXPECT_EQ(xe::ReportMessage(nullptr, "Cannot have TIME_1 block in memory!", "Internal error",
                              xe::kStyleError),
            0);
  xe::ReportCannotOpen("/no/such.cine");
  EXPECT_EQ(settings.Text(),
            "\nInternal error: Cannot have TIME_1 block in memory!"
            "\n(null): The file \"/no/such.cine\" cannot be open");
}

TEST(LogFlags, ComeFromTheSettingsAtTheFirstStartOnly) {
  Settings settings(false);
  xe::frame::SetPluginDirectory(fixture::TestTmpRoot() + "/no-plugins-here");
  ASSERT_EQ(xe::frame::StartCount(), 0u);
  ASSERT_EQ(xe::con::XefSetRegistryVal("LogFlags", "1"), XE_OK);
  xe::frame::LogFlags = 0;

  EXPECT_EQ(xe::frame::StartInternal(), XE_WARN_NO_IMAGING);
  EXPECT_EQ(xe::frame::LogFlags.load(), 1u);
  std::string log = settings.Text();
  EXPECT_TRUE(Contains(log, "MXF format will not be available")) << log;
  EXPECT_TRUE(Contains(log, "Many image and cine file formats will not be available")) << log;
  EXPECT_TRUE(Contains(log, "\nCreated mutex hlCineNoMutex = ")) << log;
  EXPECT_TRUE(Contains(log, "\nCreated mutex hSaveCineBufferMutex = ")) << log;
  EXPECT_TRUE(log.ends_with(" ErrCode= 2006")) << log;

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
