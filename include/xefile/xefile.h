/* XeFile: open, process and save the recordings of high-speed cameras.
 *
 * The public C interface. A recording is a cine: a camera Setup, images
 * numbered from the trigger image (image 0; earlier images are negative),
 * per-image times, exposures, signals, range data and timecode.
 *
 * Conventions
 *  - Every function with a result returns an int32_t status: 0 success,
 *    negative failure, positive warning (xefile_status.h). Predicates return
 *    1 or 0.
 *  - A CineHandle is owned by the caller from its creator to XeDestroyCine.
 *    One handle is used by one thread at a time.
 *  - Paths are UTF-8. All records of the file format are little-endian and
 *    packed (xefile_records.h).
 *  - Call XeStartXeFile before anything else and XeStopXeFile at the end;
 *    starts and stops nest.
 */
#ifndef XEFILE_XEFILE_H
#define XEFILE_XEFILE_H

#include <stdint.h>

#include "xefile_records.h"
#include "xefile_selectors.h"
#include "xefile_status.h"

#if defined(XEFILE_BUILDING)
#define XEFILE_API __attribute__((visibility("default")))
#else
#define XEFILE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct Cine *CineHandle;

/* ---- Library start and stop ------------------------------------------------
 * XeStartXeFile registers the caller and, on the first start, reads the log
 * setting and loads the optional plugins. A start without the imaging plugin
 * answers XE_WARN_NO_IMAGING (2006), without the movie plugin's encoder
 * XE_WARN_NO_ENCODER (2007); the library still works. Every start, even a
 * failed one, is matched by one XeStopXeFile. */
XEFILE_API int32_t XeStartXeFile(void);
XEFILE_API int32_t XeStartXeFileInternal(void);
XEFILE_API int32_t XeStopXeFile(void);
/* Lets the library's standard messages through to the log (they are off by
 * default). Always returns 0. */
XEFILE_API int32_t XefEnableXefileMessages(uint32_t enable);

/* ---- Creation and destruction -------------------------------------------- */
/* Opens a cine by the content of the file: a cine file, or a header file
 * (.chd). On failure *out is null. */
XEFILE_API int32_t XeNewCineFromFile(const char *path, CineHandle *out);
/* Builds an empty cine in memory whose images the caller fills in. */
XEFILE_API int32_t XefNewCine(CineHandle *out, int32_t width, int32_t height, int32_t bitDepth,
                              int32_t firstImage, uint32_t imageCount);
/* Frees a cine and closes its file. Null and live cines are left alone. */
XEFILE_API int32_t XeDestroyCine(CineHandle cine);
/* A copy with its own file position and working block. A live cine is refused
 * with XE_INFO_NOT_RECORDED (121). */
XEFILE_API int32_t XeDuplicateCine(CineHandle *out, CineHandle src);
XEFILE_API int32_t XefDuplicateCine(CineHandle *out, CineHandle src);

/* ---- The recording -------------------------------------------------------- */
/* The recording's whole range in the camera, first and last image numbers. */
XEFILE_API int32_t XeGetCineRange(CineHandle cine, int32_t *first, int32_t *last);
XEFILE_API int32_t XeGetCineTriggerTime(CineHandle cine, Time64 *out);
/* The image header as a caller sees delivered images: colour raw cines as 24
 * or 48 bits, rotation applied, uncompressed. */
XEFILE_API int32_t XeGetCineBMIH(CineHandle cine, BitmapInfoHeader *out);
XEFILE_API int32_t XeEnableCineColor(CineHandle cine, uint32_t enable);
/* Puts a Setup (optional) into a camera cine and makes the image geometry
 * agree with the camera. Without a camera it answers the camera's failure. */
XEFILE_API int32_t XefSetCineSetup(CineHandle cine, const Setup *setup);

/* ---- Images ----------------------------------------------------------------
 * XeGetCineImage reads the images of `range` (first image, count) into
 * `pixels`, one after the other at the stride of one image, and passes them
 * through the processing chain of the cine's use case. `header` receives the
 * header of the delivered images (biSize 48, black and white levels). The
 * buffer must hold `range->Cnt` images of the largest size the cine can
 * deliver; else XE_ERR_BUFFER_TOO_SMALL and nothing is read. Images outside
 * the cine are left untouched and are not an error. Packed 10-bit images
 * come packed from a raw fetch. */
XEFILE_API int32_t XeGetCineImage(CineHandle cine, ImageRange *range, uint8_t *pixels,
                                  uint32_t bufferSize, ImageHeader *header);

/* ---- Information selectors (CIS_*, xefile_selectors.h) ---------------------
 * A selector that is not listed answers XE_ERR_NOT_SUPPORTED (-2018); a null
 * cine or value XE_ERR_NULL_ARGUMENT. Integer values are written as 32 bits;
 * texts into the caller's room of the documented size; the CIS_Ptr*
 * selectors write the address of a record inside the cine. */
XEFILE_API int32_t XeGetCineInfo(CineHandle cine, uint32_t selector, void *value);
/* The value of a 32-bit selector as the result (0 for an unknown one). */
XEFILE_API uint32_t XevGetCineInfo(CineHandle cine, uint32_t selector);

/* ---- Predicates ------------------------------------------------------------ */
XEFILE_API int32_t XefIs16BitCine(CineHandle cine);
XEFILE_API int32_t XefIsColorCine(CineHandle cine);
XEFILE_API int32_t XeIsColorCine(CineHandle cine, uint32_t *result);
XEFILE_API int32_t XefIsColorCineHead(CineHandle cine, int32_t head);
XEFILE_API int32_t XefIsRawCine(CineHandle cine);
XEFILE_API int32_t XefIsBWPackedCine(CineHandle cine);
XEFILE_API int32_t XefIsMultiHeadCine(CineHandle cine);
XEFILE_API int32_t XefWasMultiHeadCamera(CineHandle cine);
XEFILE_API int32_t XefIsJPEGCompressed(int16_t fileType);
/* The largest linear pixel value of the cine's images. */
XEFILE_API int32_t XefMaxPixLin(CineHandle cine);

/* ---- Setup ------------------------------------------------------------------ */
/* Copies the image adjustments of one Setup into another. Of fUserMatrix only
 * the first 9 bytes are copied: files and tools rely on that exact result. */
XEFILE_API int32_t XefCopySetupImProc(Setup *target, const Setup *source);
XEFILE_API int32_t XefCopySetupImProcEx(Setup *target, const Setup *source, uint32_t ignored,
                                        uint32_t includeConv8);

/* ---- Tagged blocks ------------------------------------------------------------
 * Per-image data of the recording: time (1002), exposure (1003), range data
 * (1004), binary (1005) and analog (1006) signals, timecode (1007). */
/* The data of the first block of that tag, or null. Ask only for tags that
 * the cine has. */
XEFILE_API void *XefGetCineTaggedBlock(CineHandle cine, uint32_t tag);
/* Copies the entry of one image of one tag into out (size bytes). */
XEFILE_API int32_t XeGetCineAuxData(CineHandle cine, int32_t image, uint32_t tag, uint32_t size,
                                    void *out);

/* ---- Use cases ---------------------------------------------------------------
 * 1 view, 2 save, 3 raw. Every creator sets use case 1. */
XEFILE_API int32_t XeSetUseCase(CineHandle cine, uint32_t useCase);
XEFILE_API int32_t XeGetUseCase(CineHandle cine, uint32_t *useCase);

#ifdef __cplusplus
}
#endif

#endif
