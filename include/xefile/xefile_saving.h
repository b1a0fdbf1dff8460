/* XeFile: saving a cine, and the file services that saves use.
 * Included by xefile.h; not meant to be included on its own.
 *
 * A save is set up on the cine itself (file name pattern, FileType, range and
 * the format's options, also reachable through the selectors 500 to 560 and
 * 1030 to 1032) and run by XeWriteCineFile. The save works on duplicates of
 * the cine: the caller's handle is not changed by it, except for the result
 * words (CIS_LastSaveStatus and the progress).
 *
 * FileType codes. Zero and positive write one file for the whole range:
 *    1 processed cine (.cine)       0 raw cine (.cine; a gray cine saves as 1)
 *    2 JPEG cine (.cci)             3 AVI          4 multipage TIFF (8/24-bit)
 *    5 MPEG (never written)         6, 7 MXF PAL, NTSC    8 QuickTime
 * Negative write one still file per image, named by the pattern:
 *   -8, -9, -10 TIFF of 8/24, 12/36 and 16/48 bits; -25 RAW; -26 DNG;
 *   -27 DPX; -1 to -7 and -11 to -24 need the imaging plugin.
 * Every save that is not a cine file (FileType outside 0 to 2) also writes a
 * ".chd" header beside its output: "a.tif" gives "atif.chd". With the
 * XmlHeader option (selector 505) an ".xml" description is written too.
 *
 * File name patterns. Path separator '/'; the directory of the output is
 * created. Tokens, each followed by one digit d:
 *   !d  the image number, zero-padded to d digits (only the last d kept)
 *   +d  first rebases the number to count from 1 at the first saved image,
 *       then prints as !d; the rebased number stays for the rest
 *   @d  the save-job number of this save
 *   ~8  an 8-character name from the trigger time ("JL121030": month letters,
 *       day, hour, minute), counted up until no such file exists; '~' not
 *       followed by 8 inserts the whole trigger time text.
 * A token character not followed by a digit is copied as it stands. */
#ifndef XEFILE_XEFILE_SAVING_H
#define XEFILE_XEFILE_SAVING_H

#ifdef __cplusplus
extern "C" {
#endif

/* Room for a path or an expanded pattern, terminator included. */
#define XE_MAX_PATH 4096

/* Progress callback of a save: percent 0 to 100 and the cine being saved.
 * Return non-zero to go on, 0 to stop. A stopped cine save leaves a valid
 * file that holds the images written so far. */
typedef int32_t (*pfnCallback)(uint32_t percent, CineHandle cine);

/* Stores the output pattern, FileType and StampTime, and the JPEG quality 1
 * (worst) to 100 (best; 0 counts as 1, above 100 as 100). Does not run the
 * defaults of the type (selector 502 does). */
XEFILE_API int32_t XeSetCineSaveOptions(CineHandle cine, const char *fileName, uint16_t fileType,
                                        uint32_t stampTime, int32_t quality);
/* The images first to last. first <= -0x7FFFFFFF with last >= 0x7FFFFFFE
 * means the whole cine, whatever it holds. */
XEFILE_API int32_t XeSetCineSaveRange(CineHandle cine, int32_t first, int32_t last);
/* The cine's own range (not the save range set above). */
XEFILE_API int32_t XeGetCineSaveRange(CineHandle cine, int32_t *first, int32_t *last);
/* Bit n: save head n of a multi-head camera as a cine of its own. */
XEFILE_API int32_t XeSaveFromHeads(CineHandle cine, uint32_t headMask);
/* Copies the save options (not the stamps and not the file name). */
XEFILE_API int32_t XefCopySavingOptions(CineHandle dst, CineHandle src);
/* The description of entry `index` of the save filter list ("Cine, *.cine",
 * ...); 1, or 0 for an index of 128 or more. `out` holds 256 bytes. */
XEFILE_API int32_t XefGetCineSaveFilterText(char *out, uint32_t index);
/* The output path of image `imageNo` by the cine's pattern; creates its
 * directory. `out` holds XE_MAX_PATH bytes. */
XEFILE_API int32_t XefExpandFileName(CineHandle cine, int32_t imageNo, char *out);
/* Uncompressed size of the output of a save in bytes, each still file
 * rounded up to `cluster` bytes (0 counts as 1). */
XEFILE_API int32_t XefGetCineSaveSize(CineHandle cine, uint32_t cluster, uint64_t *bytes);

/* The blocking save. Up to 20 saves run at once (XE_ERR_SAVE_SLOTS_FULL).
 * Range warnings: XE_WARN_RANGE_EMPTY (nothing saved, a valid empty cine
 * file) and XE_WARN_RANGE_REDUCED. The setting SaveNoThread=1 writes cine
 * files without the overlapping writer thread (the same bytes). */
XEFILE_API int32_t XeWriteCineFile(CineHandle cine, pfnCallback callback);
/* Saves to `name` without registration and without a callback; a name with
 * no dot in its last component gets the type's extension. */
XEFILE_API int32_t XeSaveCineToFile(const char *name, CineHandle cine);
/* Saves cine 1 of camera `cn`; without a camera XE_CAM_NO_CAMERA. */
XEFILE_API int32_t XeSaveCineFromCamera(uint32_t cn, const char *name, uint16_t fileType,
                                        int32_t first, uint32_t count, uint32_t qFactor,
                                        uint32_t stampTime, uint32_t option);
/* The handler that a callback value of 0 to 15 names: it is called with the
 * percent and that number instead of a function. */
typedef int32_t (*XeRemoteProgress)(uint32_t percent, uint32_t number);
XEFILE_API int32_t XefSetFileLVCallback(XeRemoteProgress handler);

/* Writes the image-processing fields of the cine's Setup into the Setup of
 * the cine file it was opened from (the same as selector 1101). */
XEFILE_API int32_t XefUpdateCineFileSetup(CineHandle cine);
/* Clips the cine in memory to `range` (in: wanted, out: kept). Clip a file
 * cine only from its first image. A cine with a timecode block cannot be
 * clipped: XE_ERR_NULL_CINE, and the cine must then be destroyed. */
XEFILE_API int32_t XeClipCine(CineHandle cine, ImageRange *range);

/* The range data of image `imageNo` as text, in the form `mode` (the Setup's
 * RangeCode); `item` 1 azimuth, 2 elevation, 0 the whole record. `out` holds
 * 256 bytes and is not touched when the cine has no range data. */
XEFILE_API void XefFormatRangeData(CineHandle cine, int32_t imageNo, uint32_t mode, uint32_t item,
                                   char *out);

/* ---- Writing a cine image by image ----------------------------------------
 * For callers that produce images themselves (a simulation, another camera's
 * files): the recording's Setup and image header are given once, then each
 * image with its time, exposure and optional per-image data. The file is a
 * valid cine after every image: its header always counts the images written
 * so far, so a crash or a full disk loses at most the image being written.
 * Memory stays bounded whatever the length: images go straight to disk.
 *
 *   XeCineWriterParams p = {0};
 *   p.Setup = &setup;              (FrameRate, CFA, RealBPP, signals, ...)
 *   p.Bmih = bmih;                 (biWidth, biHeight, biBitCount 8/16/24/48;
 *                                   packed 10-bit: biBitCount 16, biCompression
 *                                   XE_BI_PACKED, biClrImportant 1024)
 *   p.FirstImageNo = -100;         (images before the trigger are negative)
 *   p.TriggerTime = trigger;
 *   XefCineWriterOpen("out.cine", &p, &w);
 *   for each image: XefCineWriterAddImage(w, pixels, &time, exposure, NULL);
 *   XefCineWriterClose(w);
 *
 * Per-image blocks: times and exposures always; range data when the Setup's
 * RangeSize is not 0; binary signals when BinChannels and SamplesPerImage are
 * not 0; analog signals when AnaChannels and SamplesPerImage are not 0;
 * timecode when Timecode is set in the parameters. Room for MaxImages images
 * is reserved behind the Setup (as a sparse hole); the blocks are cut to the
 * images written when the writer is closed. */
typedef struct XeCineWriter *CineWriterHandle;

typedef struct XeCineWriterParams {
    const Setup *Setup;           /* copied; Length is set to the record's size */
    BitmapInfoHeader Bmih;        /* biSizeImage and biPlanes are computed */
    uint16_t Compression;         /* XE_COMPRESSION_RAW (raw mosaic, Setup CFA not 0) or
                                     XE_COMPRESSION_GRAY_COLOR */
    uint16_t Timecode;            /* non-zero: a timecode block (1007) */
    int32_t FirstImageNo;         /* number of the first image written */
    Time64 TriggerTime;
    uint32_t MaxImages;           /* room reserved; 0 means 1048576 */
} XeCineWriterParams;

/* Optional per-image data; a null pointer writes zeros. */
typedef struct XeCineImageExtra {
    const void *RangeData;        /* RangeSize bytes */
    const void *BinSignals;       /* (BinChannels + 7) / 8 * SamplesPerImage bytes */
    const void *AnaSignals;       /* AnaChannels * SamplesPerImage 16-bit samples */
    const TC *Timecode;
} XeCineImageExtra;

/* Creates the file. XE_ERR_NOT_SUPPORTED for a header the cine format cannot
 * hold (depth, compression, size), XE_ERR_FILE_OPEN when it cannot be made. */
XEFILE_API int32_t XefCineWriterOpen(const char *path, const XeCineWriterParams *params,
                                     CineWriterHandle *out);
/* Appends the next image: biSizeImage bytes of pixels, rows bottom-up padded
 * to 4 bytes (packed: one stream of 10-bit samples, four in five bytes, most
 * significant bit first, rows without padding). `time` may be null: the
 * trigger time plus the image's place at the Setup's FrameRate.
 * XE_ERR_NOT_SUPPORTED past MaxImages. */
XEFILE_API int32_t XefCineWriterAddImage(CineWriterHandle writer, const uint8_t *pixels,
                                         const Time64 *time, uint32_t exposure,
                                         const XeCineImageExtra *extra);
/* Images written so far. */
XEFILE_API uint32_t XefCineWriterImageCount(CineWriterHandle writer);
/* Cuts the blocks to the images written, closes the file and frees the
 * writer (also after a failure: the file keeps the images written). */
XEFILE_API int32_t XefCineWriterClose(CineWriterHandle writer);

/* ---- One image to a still file ------------------------------------------
 * An image the caller holds (rows bottom-up, padded to 4 bytes; 8, 16, 24 or
 * 48 bits) to one file of a still FileType (-27 to -1), as a save writes
 * each image: -8, -9, -10 TIFF of 8/24, 12/36 and 16/48 bits (16-bit samples
 * are scaled to full scale by 65536 / biClrImportant), -25 RAW, -27 DPX
 * (with a zero timecode). Other 16-bit types get 8-bit samples (the top
 * byte). `quality` 1 to 100 for the JPEG types; `options` may be null, or
 * point to the RawFileOptions word for -25, or for -27 to the DPX block:
 * DpxFlags (u32), DpxRefWhite and DpxRefBlack (u16 each), DpxGamma and
 * DpxFilmGamma (f32 each), DpxSoftClip (u32). DPX answers its own positive
 * codes: 1 not created, 2 short write, 8 no memory, 16 a depth other than
 * 8, 10, 12, 14 or 16, 32 a packing above 2. `time` (may be null: now) goes
 * into the TIFF date. */
XEFILE_API int32_t XeSaveImageToFile(const char *name, const BitmapInfoHeader *header,
                                     const uint8_t *pixels, int16_t fileType, int32_t quality,
                                     const void *options, const Time64 *time);

/* The same from a DIB in one block (header, colour table, pixels). The low
 * 32 bits of `parameters` give the FileType, taken as negative whatever its
 * sign (3 and -3 both write -3), the high 32 bits the quality. No format
 * options and no time; 16-bit images go to 8 bits by their top byte. */
XEFILE_API int32_t XeWriteImageFile(const char *name, const BitmapInfoHeader *dib,
                                    uint64_t parameters, uint32_t reserved);
/* A still file into `dib`, which must hold the whole DIB. Still files are
 * read through the imaging plugin: XE_ERR_IMAGE_FILE_READ when it is absent. */
XEFILE_API int32_t XeReadImageFile(const char *name, BitmapInfoHeader *dib);

/* ---- Image search -----------------------------------------------------------
 * From the cine's current image (CIS_PtrImageRangeFirst), forward (direction
 * 0) or backward (1), to the first image whose event bit (bit 1 of its time's
 * fractions) is 0 (*condition 0), 1 (1), or differs from the start image's
 * (2). The start image is not examined, nor is the last image of the
 * direction: *found is left on it with XE_INFO_SEARCH_AT_END. kind must be 0;
 * progress may be null (return 0 to stop). */
typedef int32_t (*XeSearchProgress)(int32_t imageNo, uint32_t reserved, CineHandle cine);
XEFILE_API int32_t XefCineImageSearch(CineHandle cine, uint32_t direction, uint32_t kind,
                                      uint32_t *condition, uint64_t conditionSize, int32_t *found,
                                      XeSearchProgress progress);

/* ---- Files and directories ('/' separates) ------------------------------ */
/* 1 when the path is a directory afterwards; creates the missing parents. */
XEFILE_API int32_t XefMakeDirectory(const char *path);
/* 0 nothing there, 1 a directory, 2 a file. */
XEFILE_API int32_t XefIsFileOrDirectory(const char *path);
/* 1 when the last extension of `path` (dot included) is `extension`,
 * case-blind. */
XEFILE_API int32_t XefIsFileExtension(const char *path, const char *extension);
/* Replaces the last extension (or appends one); `path` must have room. */
XEFILE_API void XefReplaceFileExtension(char *path, const char *extension);
/* The largest file the file system of `path` holds, in MB: 4096 on FAT32
 * (vfat), 0xFFFFFFFF where there is no such limit. */
XEFILE_API uint32_t XefMaxFileSizeForPartition(const char *path);
/* Space of the file system of the current directory (there are no drive
 * letters: `drive` is ignored). 1, or 0 when the system cannot tell.
 * `cluster` (required) gets the block size; the others may be null. */
XEFILE_API int32_t XefGetDiskSpace(char drive, uint64_t *total, uint64_t *free, uint32_t *totalMB,
                                   uint32_t *freeMB, uint32_t *cluster);
/* The same for the file system that holds `path`. */
XEFILE_API int32_t XefGetDiskSpaceOfPath(const char *path, uint64_t *total, uint64_t *free,
                                         uint32_t *totalMB, uint32_t *freeMB, uint32_t *cluster);

#ifdef __cplusplus
}
#endif

#endif
