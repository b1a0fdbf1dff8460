#include "frame/plugins.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "xefile/xefile_status.h"

namespace xe::frame {
namespace {

std::mutex g_dirLock;
std::string g_dirOverride;

void *g_imagingHandle = nullptr;
void *g_movieHandle = nullptr;
std::atomic<const XeImagingPluginTable *> g_imaging{nullptr};
std::atomic<const XeMoviePluginTable *> g_movie{nullptr};

std::string OwnDirectory() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void *>(&OwnDirectory), &info) == 0 || !info.dli_fname) return ".";
  std::string path = info.dli_fname;
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

// Opens a plugin and asks it for its table. Null when the file is absent, has
// no table, or speaks another version.
template <typename Table, typename Entry>
const Table *Open(const char *file, const char *entryName, void **handle) {
  std::string path = PluginDirectory() + "/" + file;
  void *h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!h) return nullptr;
  auto entry = reinterpret_cast<Entry>(dlsym(h, entryName));
  const Table *table = entry ? entry() : nullptr;
  if (!table || table->abiVersion != XEFILE_PLUGIN_ABI_VERSION) {
    dlclose(h);
    return nullptr;
  }
  *handle = h;
  return table;
}

}  // namespace

std::string PluginDirectory() {
  std::lock_guard<std::mutex> g(g_dirLock);
  return g_dirOverride.empty() ? OwnDirectory() : g_dirOverride;
}

void SetPluginDirectory(const std::string &dir) {
  std::lock_guard<std::mutex> g(g_dirLock);
  g_dirOverride = dir;
}

int32_t LoadEncoderPlugin() {
  if (!g_movie.load()) {
    g_movie = Open<XeMoviePluginTable, XeMoviePluginEntry>(
        XEFILE_MOVIE_PLUGIN_FILE, XEFILE_MOVIE_PLUGIN_ENTRY, &g_movieHandle);
  }
  if (!EncoderAvailable()) {
    if (LogOn())
      con::Debprintf("\nRuntime dynamic link: " XEFILE_MOVIE_PLUGIN_FILE
                     " library was not found. MXF format will not be available");
    return XE_WARN_NO_ENCODER;
  }
  if (LogOn())
    con::Debprintf("\nRuntime dynamic link: " XEFILE_MOVIE_PLUGIN_FILE
                   " library was found and loaded.");
  return XE_OK;
}

int32_t LoadImagingPlugin() {
  if (!g_imaging.load()) {
    g_imaging = Open<XeImagingPluginTable, XeImagingPluginEntry>(
        XEFILE_IMAGING_PLUGIN_FILE, XEFILE_IMAGING_PLUGIN_ENTRY, &g_imagingHandle);
  }
  if (!ImagingAvailable()) {
    if (LogOn())
      con::Debprintf("\nRuntime dynamic link: Imaging libraries were not found. "
                     "Many image and cine file formats will not be available");
    return XE_WARN_NO_IMAGING;
  }
  if (LogOn()) con::Debprintf("\nRuntime dynamic link: Imaging libraries were found and loaded.");
  return XE_OK;
}

int32_t FreePlugins() {
  int32_t status = XE_OK;
  g_imaging = nullptr;
  g_movie = nullptr;
  if (g_imagingHandle && dlclose(g_imagingHandle) != 0) status = XE_WARN_LIBRARY_FREE;
  g_imagingHandle = nullptr;
  if (g_movieHandle) dlclose(g_movieHandle);
  g_movieHandle = nullptr;
  return status;
}

bool ImagingAvailable() { return g_imaging.load() != nullptr; }

bool EncoderAvailable() {
  const XeMoviePluginTable *m = g_movie.load();
  return m && m->hasMxfEncoder;
}

const XeImagingPluginTable *ImagingPlugin() { return g_imaging.load(); }
const XeMoviePluginTable *MoviePlugin() { return g_movie.load(); }

}  // namespace xe::frame
