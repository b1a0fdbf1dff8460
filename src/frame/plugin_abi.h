// The C tables through which the library reaches its optional plugins.
// libxefile_imaging.so (still formats, JPEG cine images, TIFF pages) exports
// xefile_imaging_plugin_table(); libxefile_movie.so (movie export and import,
// MXF) exports xefile_movie_plugin_table(). A table whose abiVersion differs
// from the library's is not used. An entry that is null is a missing entry
// point and answers XE_ERR_ENTRY_POINT at the place that needs it. New entries
// are added at the end; `size` tells how many the plugin knows.
#pragma once

#include <stdint.h>

#define XEFILE_PLUGIN_ABI_VERSION 1u

extern "C" {

struct XeImagingPluginTable {
  uint32_t abiVersion;
  uint32_t size;  // sizeof the table as the plugin was built
  const char *name;
};

struct XeMoviePluginTable {
  uint32_t abiVersion;
  uint32_t size;
  const char *name;
  // Non-zero when the plugin can write MXF files.
  uint32_t hasMxfEncoder;
};

typedef const struct XeImagingPluginTable *(*XeImagingPluginEntry)(void);
typedef const struct XeMoviePluginTable *(*XeMoviePluginEntry)(void);

}

#define XEFILE_IMAGING_PLUGIN_FILE "libxefile_imaging.so"
#define XEFILE_MOVIE_PLUGIN_FILE "libxefile_movie.so"
#define XEFILE_IMAGING_PLUGIN_ENTRY "xefile_imaging_plugin_table"
#define XEFILE_MOVIE_PLUGIN_ENTRY "xefile_movie_plugin_table"
