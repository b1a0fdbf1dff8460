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
 * `pixels`, one after the other, and passes them through the processing
 * chain of the cine's use case (XeSetUseCase: 1 view, 2 save, 3 raw).
 * `header` receives the header of the delivered images (biSize 48, black and
 * white levels); they lie one after the other at its biSizeImage. The buffer
 * must hold `range->Cnt` times the value of selector CIS_MaxImageSizeColor
 * (400); else XE_ERR_BUFFER_TOO_SMALL and nothing is read. Images outside the
 * cine are left untouched and are not an error. */
XEFILE_API int32_t XeGetCineImage(CineHandle cine, ImageRange *range, uint8_t *pixels,
                                  uint32_t bufferSize, ImageHeader *header);

/* ---- Decoded images and depth -----------------------------------------------
 * The older image calls decode one image far enough to be shown: packed
 * samples are unpacked to 14-bit linear values, raw mosaics are stretched to
 * the Setup's levels and interpolated to colour (after the white balance when
 * it is kept as metadata). They take no buffer size. `pixels` must hold one
 * image in colour at the sample size it is stored with: the size of a
 * bitmap of the cine's width and height with biBitCount 48 (16-bit or packed
 * samples) or 24 (8-bit samples), rows padded to 4 bytes, and of the same
 * with width and height exchanged (a quarter turn of the adjustments).
 * XeGetCineBMIH gives that size while the depth was not switched with
 * XeEnableCine16Bpp, and selector CIS_MaxImageSizeColor bounds it.
 * An image outside the cine is not an error: the pixels stay as they were.
 * XeReadCineFileImage and XeReadCineImage answer XE_INFO_NOT_RECORDED (121)
 * for a camera cine without a camera. */
/* The image decoded, nothing adjusted. */
XEFILE_API int32_t XeReadCineFileImage(CineHandle cine, int32_t image, uint8_t *pixels);
/* The image decoded, then adjusted by the Setup (levels, colour, flips, turn,
 * filter). 0 whatever the read did, for a cine and pixels that are given. */
XEFILE_API int32_t XeReadCineProcessedImage(CineHandle cine, int32_t image, uint8_t *pixels);
/* The image ready to be shown: decoded and adjusted, from the file or from
 * the camera's memory. `head` names a head of a multi-head camera (0 to 3);
 * any other value, and any other cine, takes all heads (-1). An image
 * outside the cine gives the warning XE_WARN_RANGE_EMPTY. */
XEFILE_API int32_t XeReadCineImage(CineHandle cine, int32_t image, int32_t head, uint8_t *pixels);
/* Non-zero: images at the camera's own depth (16-bit samples); a file cine
 * keeps the depth it has. Zero: 8-bit images, on any cine (RealBPP 8). */
XEFILE_API int32_t XeEnableCine16Bpp(CineHandle cine, uint32_t enable);
/* Brings the image header in line after the camera's depth changed. */
XEFILE_API int32_t XefUpdateCineRealBppChanged(CineHandle cine);
/* 1 if white-balance gains can be kept as metadata, else 0. */
XEFILE_API int32_t XefSupportsMetaWB(CineHandle cine);

/* ---- Information selectors (CIS_*, xefile_selectors.h) ---------------------
 * A selector that is not listed answers XE_ERR_NOT_SUPPORTED (-2018); a null
 * cine or value XE_ERR_NULL_ARGUMENT. Integer values are written as 32 bits;
 * texts into the caller's room of the documented size; the CIS_Ptr*
 * selectors write the address of a record inside the cine. */
XEFILE_API int32_t XeGetCineInfo(CineHandle cine, uint32_t selector, void *value);
/* The value of a 32-bit selector as the result (0 for an unknown one). */
XEFILE_API uint32_t XevGetCineInfo(CineHandle cine, uint32_t selector);
/* Sets a selector. 0 for every listed selector, also when a value was
 * refused or limited: the value stored is then written back into the
 * caller's variable. Read-only and unknown selectors answer
 * XE_ERR_NOT_SUPPORTED; a null cine or value XE_ERR_NULL_ARGUMENT. */
XEFILE_API int32_t XeSetCineInfo(CineHandle cine, uint32_t selector, void *value);
/* Sets a 32-bit selector from a plain value; the status of XeSetCineInfo. */
XEFILE_API int32_t XevSetCineInfo(CineHandle cine, uint32_t selector, uint32_t value);

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
/* The data of one image for one tag, into out (size bytes):
 *   1002  the image's time, a Time64 of 8 bytes (XefCineImageTime);
 *   1003  the image's exposure in whole microseconds, a u32 rounded to the
 *         nearest (XefCineImageExposure gives it in units of 2^-32 s);
 *   1007  the image's packed timecode, 8 bytes, computed when not stored;
 *   1008  the same timecode unpacked, 44 bytes (TCU);
 *   1004, 1005, 1006  the image's entry of the block, size bytes copied.
 * A size below 8 (1002), 4 (1003) or 44 (1008) gives -2003, an image
 * without data -2004, a tag the cine does not hold -2023. */
XEFILE_API int32_t XeGetCineAuxData(CineHandle cine, int32_t image, uint32_t tag, uint32_t size,
                                    void *out);

/* ---- Image time and timecode ------------------------------------------------
 * Every image has a time (Time64), an exposure in units of 2^-32 s and a
 * timecode. They come from the cine's tagged blocks; when a cine holds none
 * they are computed from the trigger time, the frame rate, the shutter and
 * the Setup's TimeCode. Timecode counts whole frames at the nearest whole
 * rate (29.97 counts as 30) and never drops frames. */
/* The image's time into out. 1 for a stored time, or a computed one with the
 * internal frame clock; 0 for a computed time of an externally synchronised
 * cine (out is still written) and for a null cine or out (nothing written).
 * A computed time has both flag bits of fractions set. */
XEFILE_API int32_t XefCineImageTime(CineHandle cine, int32_t imageNo, Time64 *out);
/* The image's exposure in units of 2^-32 s. 1 for a stored exposure, or the
 * Setup's shutter without automatic exposure; 0 otherwise, as above. */
XEFILE_API int32_t XefCineImageExposure(CineHandle cine, int32_t imageNo, uint32_t *out);
/* Seconds from the trigger to the image, negative before it. 1, or 0 with
 * *out = 0.0 when the image's time is not trusted (see XefCineImageTime). */
XEFILE_API int32_t XefTimeFromTrigger(CineHandle cine, int32_t imageNo, double *out);
/* The cine's time format: 0 local time, 1 UTC, 2 timecode. 0 for null. */
XEFILE_API uint32_t XefCineUT(CineHandle cine);
/* The image's time as text; out must have room for 64 bytes. options:
 *   0xF000  when any of these bits is set the low byte (0x00FF) is the time
 *           format, else the cine's (XefCineUT);
 *   0x0F00  the part, formats 0 and 1 only: 0x000 all of
 *           "Ddd Mmm DD YYYY HH:MM:SS.mmm uuu.nnn us" (date in characters 0-14,
 *           time of day from character 16), 0x100 the date, 0x200 "HH:MM:SS",
 *           0x300 "mmm uuu.nnn", 0x400 the zone ("UTC" or "+hh:mm"); any other
 *           part prints nothing.
 * Format 2 prints the image's timecode as "HH:MM:SS:FF TC"; a format above 2
 * prints nothing. The text stays empty, status 0, when the image's time is
 * not trusted. XE_ERR_NULL_ARGUMENT for a null cine or out. */
XEFILE_API int32_t XePrintTime(CineHandle cine, uint32_t imageNo, uint32_t options, char *out);
/* An unpacked timecode plus or minus a number of frames at fps; the last
 * argument is not used. Adding does not wrap hours at 24, subtracting wraps
 * back through one day; flags and user bits of in are lost; a rate below 0.5
 * gives all zeros. result and in may be the same record. Returns result. */
XEFILE_API TCU *XefTCUAddFrames(TCU *result, const TCU *in, uint64_t frames, float fps,
                                uint32_t ignored);
XEFILE_API TCU *XefTCUSubFrames(TCU *result, const TCU *in, uint64_t frames, float fps,
                                uint32_t ignored);
/* A packed TC (in the low bytes of the result, as in memory) from numbers,
 * each limited: hours to 23, minutes and seconds to 59, frames to the whole
 * rate less 1. */
XEFILE_API uint64_t XefGetTCFromHMSF(uint32_t hours, uint32_t minutes, uint32_t seconds,
                                     uint32_t frames, float fps);
/* A count of thousandths as a decimal: 1500 gives "1.5", 1025 "1.025", 2000
 * "2". A negative value with a remainder shows its minus sign in both parts
 * (-1500 gives "-1.-5"). out must have room for 16 bytes. Returns the length
 * of the last piece printed: the part after the point, or the whole number. */
XEFILE_API int32_t XefPrintDot3Us(int32_t value, char *out);
/* Shutter units: mode 1 percent, 2 degrees of the frame period periodNs, in
 * thousandths (180 degrees is 180000); any other mode nanoseconds, unchanged.
 * Rounded by adding 0.5 and truncating, limited to the int32 range. A
 * periodNs of 0 gives the value back unchanged from XefFromNsToNsDegPer. */
XEFILE_API int32_t XefFromNsToNsDegPer(int32_t value, int32_t periodNs, uint32_t mode);
XEFILE_API int32_t XefFromNsDegPerToNs(int32_t value, int32_t periodNs, uint32_t mode);

/* ---- Demosaic -----------------------------------------------------------------
 * Colour interpolation of a mosaic. Ids, in the order interfaces list them:
 * Fastest (2 x 2 window), Fast (bilinear), Medium (gradient-corrected
 * linear), Good (edge-directed), Best (gradient-weighted directional colour
 * differences), None (the mosaic stays grey). */
#define XE_DEMOSAIC_FASTEST 1
#define XE_DEMOSAIC_FAST    2
#define XE_DEMOSAIC_GOOD    3
#define XE_DEMOSAIC_BEST    4
#define XE_DEMOSAIC_MEDIUM  5
#define XE_DEMOSAIC_NONE    6
/* A replacement for the library's colour interpolation: the mosaic (8 or 16
 * bits, one sample per pixel) to colour in place, the header's bit count
 * tripled. algo is the id, possibly with 0x100 added. */
typedef int32_t (*XeDemosaicCallback)(BitmapInfoHeader *header, uint8_t *pixels, uint32_t cfa, uint32_t algo);
/* The list of ids: idByPosition[p] the id at position p, positionById[id] the
 * position of an id (positionById[0], for the unused id 0, is 0xFF), names[p]
 * its name. Null arguments are skipped. Returns 0. */
XEFILE_API int32_t XefInitIntAlgoIDs(uint8_t idByPosition[6], uint8_t positionById[7], char names[6][20]);

/* ---- Image adjustments -------------------------------------------------------
 * What the adjustment fields of IMPROCOPTIONS and of the Setup do to an image
 * (8 or 16-bit gray, 24 or 48-bit colour). All of them are applied in one
 * call, in this order; b is the depth in use (16-bit images: from
 * biClrImportant, else 16), M = 2^b - 1 the full scale, and every step limits
 * its result to 0..M as if the steps ran one after another.
 *   WBRed, WBBlue   gains of red and blue (colour only; 1.0 neutral; a value
 *                   that is not a finite number >= 0 counts as 1.0).
 *   Bright          offset of Bright/1000 of full scale: v + Bright * M/1000.
 *                   Setup: Bright = round(fOffset * 1000).
 *   Contrast        a factor k around mid-scale: (v - M/2) * k + M/2, with
 *                   k = 1 + Contrast * d/100, d = 0.9 below 0 else 9.0 (k is
 *                   at least 0). Setup: Contrast = round((fGain - 1) * 100/d),
 *                   d = 0.9 for fGain below 1 else 9.0; so fGain 0.55 gives
 *                   -50 and 1.9 gives 10, and k is fGain again.
 *   Saturation      colour only: the chroma around the luma Y = 0.299 R +
 *                   0.587 G + 0.114 B is scaled by 1 + Saturation/100
 *                   (-100 or less gives gray). Setup: round((fSaturation - 1)
 *                   * 100).
 *   Hue             colour only: the chroma turns by Hue degrees (taken
 *                   modulo 360) in the plane U = 0.492 (B - Y), V = 0.877
 *                   (R - Y), luma kept; positive turns red towards yellow and
 *                   green. Setup: round(fHue).
 *   Gamma           v = M * (v/M)^(1/Gamma): above 1 lightens the mid-tones,
 *                   1.0 neutral; a value that is not a finite number > 0
 *                   counts as 1.0. Setup: Gamma = fGamma; the integer Setup
 *                   field holds round(gamma * 100).
 *   FlipH, FlipV    non-zero mirrors left-right, top-bottom.
 *   Rotate          90 (or -270) a quarter turn clockwise, -90 (or 270)
 *                   anticlockwise; the header's width and height are exchanged
 *                   and the buffer must hold the turned image's size. Every
 *                   other angle is ignored (no turn, no error).
 *   FilterCode      with FilterParam, applied last (pixels beyond the border
 *                   repeat the edge pixel):
 *                     0  none
 *                     1  sharpen: v + a (4v - the four side neighbours)
 *                     2  smooth: 3 x 3 binomial, weights 1 2 1 / 2 4 2 / 1 2 1,
 *                        divided by 16, rounded
 *                     3  edge enhance: v + a (8v - the eight neighbours)
 *                     4  median of the 3 x 3 neighbourhood
 *                     5  the user filter
 *                   a = FilterParam / 100 (1 to 1000; 0 or less gives 100,
 *                   more than 1000 gives 1000); codes 2, 4 and 5 ignore it.
 *   UserFilter      out = ((sum of Coef[i][j] * v + r) >> shifts) + bias,
 *                   r = 2^(shifts-1) (0 for shifts 0), over the top-left
 *                   dim x dim coefficients; Coef[0] is the row above the
 *                   pixel in the picture, Coef[i][0] the leftmost column and
 *                   Coef[dim/2][dim/2] the pixel itself.
 *                   dim must be 1, 3 or 5 and shifts 0 to 31.
 * All zero with Gamma, WBRed and WBBlue 1.0 leaves an image bit-identical.
 * A filter code outside 0 to 5 or a user filter that breaks the rules above
 * is refused with XE_ERR_NOT_SUPPORTED and the image stays as it was.
 * The 16-to-8-bit reduction of the chain (Setup fGain16_8, selector 221) maps
 * v to min(255, floor(v * gain / 256)): gain 1.0 keeps the top byte, gain
 * 2^b / 256 maps the whole b-bit range to 0..255. */

/* ---- Use cases ---------------------------------------------------------------
 * 1 view, 2 save, 3 raw. Every creator sets use case 1. */
XEFILE_API int32_t XeSetUseCase(CineHandle cine, uint32_t useCase);
XEFILE_API int32_t XeGetUseCase(CineHandle cine, uint32_t *useCase);
/* The image adjustments of the cine's Setup in the IMPROCOPTIONS form. Setting
 * them does not rebuild the chain: they take effect at the next rebuild that
 * another change causes (a selector, a change of use case). Null cine:
 * XE_ERR_NULL_CINE; null options: XE_ERR_NULL_ARGUMENT. */
XEFILE_API int32_t XeSetCineProcessing(CineHandle cine, const IMPROCOPTIONS *options);
/* Fills the record from the Setup (Bright = fOffset * 1000, Contrast and
 * Saturation from fGain and fSaturation, Hue, Gamma = fGamma, rounded half away
 * from zero; flips, Rotate, WBView and the filter as they are). Always 0. */
XEFILE_API int32_t XeGetCineProcessing(CineHandle cine, IMPROCOPTIONS *options);
/* The header of the images as the chain of the present use case delivers
 * them (XeGetCineImage): the cine's header through every active step, with
 * biSize 40. Null cine: XE_ERR_NULL_CINE; null header: XE_ERR_NULL_ARGUMENT. */
XEFILE_API int32_t XeGetCineProcessedBMIH(CineHandle cine, BitmapInfoHeader *out);
/* Applies the adjustments of `options` to an image the caller holds (8, 16,
 * 24 or 48 bits, rows bottom-up), in place. A quarter turn exchanges width
 * and height in `header`; `pixels` must then hold the turned image. */
XEFILE_API int32_t XeCineImProc(CineHandle cine, BitmapInfoHeader *header, uint8_t *pixels,
                                IMPROCOPTIONS *options);

#ifdef __cplusplus
}
#endif

#include "xefile_saving.h"

#endif
