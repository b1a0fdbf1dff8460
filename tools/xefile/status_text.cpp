// The meanings of the library's status numbers, and the failure messages of
// the tool built on them.
#include <cstdio>

#include "tool.h"

namespace xetool {
namespace {

struct StatusEntry {
  int32_t status;
  const char *meaning;
};

constexpr StatusEntry kStatuses[] = {
    {XE_OK, "success"},
    {XE_ERR_NULL_ARGUMENT, "a required pointer argument is null"},
    {XE_ERR_NO_MEMORY, "out of memory for a working block"},
    {XE_ERR_SEMAPHORE_TIMEOUT, "overlapped transfer timed out, save aborted"},
    {XE_ERR_SEMAPHORE_CREATE, "a semaphore of the saving thread cannot be created"},
    {XE_ERR_LUT_BITS, "a linearisation table for unsupported bit depths"},
    {XE_ERR_BUFFER_TOO_SMALL, "the caller's buffer is too small for the images"},
    {XE_ERR_NULL_CINE, "null cine handle, or a tag the clipper does not know"},
    {XE_ERR_IMAGE_FILE_READ, "the image file cannot be read"},
    {XE_ERR_AUX_TOO_SMALL, "destination of an auxiliary-data request too small"},
    {XE_ERR_AUX_OUT_OF_RANGE, "image outside the cine, or no such time"},
    {XE_ERR_GRAPH, "a movie graph cannot be built or run"},
    {XE_ERR_COMPRESSOR, "the selected compressor cannot be used"},
    {XE_ERR_TIFF_FORMAT, "cannot read this tiff format"},
    {XE_ERR_FILE_OPEN, "a file cannot be opened or created"},
    {XE_ERR_FILE_READ, "a file read failed or came up short"},
    {XE_ERR_FILE_WRITE, "a file write failed or came up short"},
    {XE_ERR_FILE_SEEK, "a file seek failed"},
    {XE_ERR_FILE_VERSION, "the cine file's Version is 2 or more"},
    {XE_ERR_NOT_SUPPORTED, "unknown selector, format or option"},
    {XE_ERR_MOVIE_IN_USE, "the output movie file is in use"},
    {XE_ERR_WRITE_GRAPH, "the movie writing graph cannot be built"},
    {XE_ERR_AUX_TAG_ABSENT, "the auxiliary tag is not stored in this cine"},
    {XE_ERR_CINE_ALLOC, "the cine record cannot be allocated"},
    {XE_ERR_MOVIE_IMPORT, "the movie import component cannot be created"},
    {XE_ERR_ENTRY_POINT, "an entry point is missing from a loaded plugin"},
    {XE_ERR_ALREADY_SAVING, "this cine is already saving"},
    {XE_ERR_SAVE_SLOTS_FULL, "all 20 save slots are taken"},
    {XE_ERR_NOT_SAVING, "this cine is not among the running saves"},
    {XE_ERR_MUTEX_CREATE, "a start-up mutex cannot be created"},
    {XE_ERR_MUTEX_TIMEOUT, "a library mutex was not acquired in time"},
    {XE_ERR_THREAD_CREATE, "the saving thread cannot be created"},
    {XE_ERR_THREAD_STOP_TIMEOUT, "the saving thread did not end in time"},
    {XE_INFO_SEARCH_DIRECTION, "search direction other than forward or backward"},
    {XE_INFO_NOT_RECORDED, "needs a recorded cine; this one is live or empty"},
    {XE_WARN_RANGE_EMPTY, "the range does not meet the cine; now empty"},
    {XE_WARN_RANGE_REDUCED, "the range was reduced"},
    {XE_WARN_LIBRARY_FREE, "an optional library cannot be freed"},
    {XE_WARN_NO_IMAGING, "the imaging plugin is absent"},
    {XE_WARN_NO_ENCODER, "the MXF encoder (movie plugin) is absent"},
    {XE_WARN_RESAMPLE_REFUSED, "resampling refused for a size out of bounds"},
    {XE_WARN_CROP_REFUSED, "cropping refused for a rectangle outside the image"},
    {XE_INFO_SEARCH_AT_END, "already at the last image in that direction"},
    {XE_CAM_NO_CAMERA, "no camera answers at this camera number"},
    {XE_CAM_BAD_TIMES, "a time transfer came back bad"},
    {XE_CAM_TRIGGER_OUTSIDE, "trigger time not between images -1 and 0"},
    {XE_CAM_BAD_TIMES_2, "a time transfer came back bad"},
    {XE_CAM_SELECTOR_ABSENT, "a cine-get selector this camera lacks"},
};

}  // namespace

const char *StatusMeaning(int32_t status) {
  for (const StatusEntry &e : kStatuses)
    if (e.status == status) return e.meaning;
  return "unknown status";
}

std::string StatusText(int32_t status) {
  return std::to_string(status) + " (" + StatusMeaning(status) + ")";
}

void Fail(const std::string &what, int32_t status) {
  throw Failure{what + ": " + StatusText(status), kExitFailure};
}

void FailWith(const std::string &what, int exitCode) { throw Failure{what, exitCode}; }

void Warn(const std::string &what, int32_t status) {
  std::fprintf(stderr, "xefile: warning: %s: %s\n", what.c_str(), StatusText(status).c_str());
}

}  // namespace xetool
