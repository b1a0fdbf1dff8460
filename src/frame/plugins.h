// Loading of the optional plugins, found in the directory of the library
// itself. Loaded on the first start, freed on the last stop.
#pragma once

#include <cstdint>
#include <string>

#include "frame/plugin_abi.h"

namespace xe::frame {

// Loads the movie plugin; XE_WARN_NO_ENCODER when it, or its MXF encoder, is
// absent.
int32_t LoadEncoderPlugin();
// Loads the imaging plugin; XE_WARN_NO_IMAGING when absent.
int32_t LoadImagingPlugin();
// Frees both; XE_WARN_LIBRARY_FREE when a plugin cannot be freed.
int32_t FreePlugins();

// The availability tests used wherever a format depends on a plugin.
bool ImagingAvailable();
bool EncoderAvailable();
const XeImagingPluginTable *ImagingPlugin();
const XeMoviePluginTable *MoviePlugin();

// The directory searched for plugins: the library's own unless overridden
// (an empty text puts the library's own back).
std::string PluginDirectory();
void SetPluginDirectory(const std::string &dir);

}  // namespace xe::frame
