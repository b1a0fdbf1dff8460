// The start loads the optional plugins from the library's folder and answers
// for the ones it does not find; the last stop frees them.
#include <gtest/gtest.h>

#include <string>

#include "frame/plugins.h"
#include "frame/start.h"
#include "xefile/xefile.h"

namespace {

using namespace xe::frame;

struct PluginCase {
  const char *folder;
  int32_t start;
  bool imaging;
  bool encoder;
};

class PluginLoading : public testing::TestWithParam<PluginCase> {};

TEST_P(PluginLoading, StartAnswersForWhatIsThere) {
  const PluginCase &k = GetParam();
  SetPluginDirectory(std::string(XEFILE_TEST_PLUGINS) + "/" + k.folder);
  EXPECT_EQ(XeStartXeFile(), k.start);
  EXPECT_EQ(ImagingAvailable(), k.imaging);
  EXPECT_EQ(EncoderAvailable(), k.encoder);
  EXPECT_EQ(XeStopXeFile(), 0);
  EXPECT_FALSE(ImagingAvailable());
  EXPECT_FALSE(EncoderAvailable());
  SetPluginDirectory("");
}

INSTANTIATE_TEST_SUITE_P(
    Folders, PluginLoading,
    testing::Values(PluginCase{"none_here", XE_WARN_NO_IMAGING, false, false},
                    // The imaging warning is the later one and wins over the encoder's.
                    PluginCase{"movie_only", XE_WARN_NO_IMAGING, false, true},
                    PluginCase{"both", XE_OK, true, true},
                    PluginCase{"imaging_only", XE_WARN_NO_ENCODER, true, false},
                    PluginCase{"movie_no_mxf", XE_WARN_NO_IMAGING, false, false},
                    // A plugin of another table version is not used.
                    PluginCase{"old_version", XE_WARN_NO_IMAGING, false, false}),
    [](const testing::TestParamInfo<PluginCase> &info) { return std::string(info.param.folder); });

}  // namespace
