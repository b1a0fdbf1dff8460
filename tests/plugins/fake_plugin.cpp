// A stand-in plugin for the loading tests: it exports the table of the
// imaging or the movie plugin, built with the version the test chooses.
#include "frame/plugin_abi.h"

#ifndef FAKE_ABI_VERSION
#define FAKE_ABI_VERSION XEFILE_PLUGIN_ABI_VERSION
#endif

extern "C" {

#ifdef FAKE_IMAGING
__attribute__((visibility("default"))) const XeImagingPluginTable *xefile_imaging_plugin_table(void) {
  static const XeImagingPluginTable table = {FAKE_ABI_VERSION, sizeof(XeImagingPluginTable),
                                             "test imaging"};
  return &table;
}
#endif

#ifdef FAKE_MOVIE
__attribute__((visibility("default"))) const XeMoviePluginTable *xefile_movie_plugin_table(void) {
  static const XeMoviePluginTable table = {FAKE_ABI_VERSION, sizeof(XeMoviePluginTable),
                                           "test movie", FAKE_MXF};
  return &table;
}
#endif
}
