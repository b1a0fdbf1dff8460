/* XeFile records: the packed layouts of cine files and of the values that
 * cross the interface.
 *
 * Every record here is a file or wire format: packed, without alignment,
 * little-endian, with its size and every field offset checked at compile
 * time. Several 32-bit fields of the Setup stand at odd offsets, so code
 * must not take their addresses as aligned pointers; copy them out instead.
 * The header is valid C11 and C++20. */
#ifndef XEFILE_RECORDS_H
#define XEFILE_RECORDS_H

#include <stddef.h>
#include <stdint.h>

#ifndef XE_STATIC_ASSERT
#ifdef __cplusplus
#define XE_STATIC_ASSERT(c, m) static_assert(c, m)
#else
#define XE_STATIC_ASSERT(c, m) _Static_assert(c, m)
#endif
#endif

/* ---- Constants ----------------------------------------------------------- */

#define CINE_TYPE_CI 0x4943   /* "CI" read as a little-endian u16: the magic of a cine file */
#define SETUP_LENGTH 7240     /* bytes of the Setup at its present size */

/* CineFileHeader.Compression: how the images are stored */
#define XE_COMPRESSION_GRAY_COLOR 0   /* gray or colour pixels as they are */
#define XE_COMPRESSION_JPEG       1   /* each image a JPEG stream */
#define XE_COMPRESSION_RAW        2   /* raw sensor samples, one per pixel */
#define XE_COMPRESSION_MOVIE      3   /* movie-coded file; read as 0 */

/* BitmapInfoHeader.biCompression of a packed image */
#define XE_BI_PACKED 256

/* Tags of the blocks in the tagged area behind the Setup */
#define XE_TAG_SKIP       1000   /* skipped where it stands first; a writer leaves it out */
#define XE_TAG_TIME_1     1001   /* old form: times then exposures of the whole recording */
#define XE_TAG_TIME       1002   /* one Time64 for each image */
#define XE_TAG_EXPOSURE   1003   /* one u32 exposure for each image, units of 2^-32 s */
#define XE_TAG_RANGE_DATA 1004   /* Setup.RangeSize opaque bytes for each image */
#define XE_TAG_BINSIG     1005   /* binary signals */
#define XE_TAG_ANASIG     1006   /* analog signals, 16-bit samples */
#define XE_TAG_TIMECODE   1007   /* one TC for each image */
#define XE_TAG_TCU        1008   /* auxiliary data request only: the TC of an image unpacked to a TCU */

#pragma pack(push, 1)

/* ---- Times and timecodes ------------------------------------------------- */

/* A time stamp: seconds since 1970-01-01 00:00:00 UTC plus a fraction in
 * units of 2^-32 s. The two lowest bits of fractions are flags, not time:
 * bit 0 set means a free-running clock (clear: locked to IRIG), bit 1 set
 * means the event input was active. Mask them (0xFFFFFFFC) before using
 * fractions as a number. */
typedef struct Time64 {
    uint32_t fractions;   /* 0  fraction of the second, units of 2^-32 s; bits 0-1 are flags */
    uint32_t seconds;     /* 4  seconds since 1970 UTC */
} Time64;

/* A packed timecode. Each of the first four bytes holds two BCD digits and
 * flag bits that are carried but not interpreted:
 *
 *   frames   bits 0-3 units, bits 4-5 tens, bit 6 TCFlagF6, bit 7 TCFlagF7
 *   seconds  bits 0-3 units, bits 4-6 tens, bit 7 TCFlagS7
 *   minutes  bits 0-3 units, bits 4-6 tens, bit 7 TCFlagM7
 *   hours    bits 0-3 units, bits 4-5 tens, bit 6 TCFlagH6, bit 7 TCFlagH7
 *
 * No C bitfields: their order is up to the compiler. */
typedef struct TC {
    uint8_t frames;        /* 0  BCD frames and flags F6, F7 */
    uint8_t seconds;       /* 1  BCD seconds and flag S7 */
    uint8_t minutes;       /* 2  BCD minutes and flag M7 */
    uint8_t hours;         /* 3  BCD hours and flags H6, H7 */
    uint32_t TCUserBits;   /* 4  user bits */
} TC;

/* An unpacked timecode: plain numbers, and each flag 0 or 1. */
typedef struct TCU {
    uint32_t frames;       /*  0 */
    uint32_t seconds;      /*  4 */
    uint32_t minutes;      /*  8 */
    uint32_t hours;        /* 12 */
    uint32_t TCFlagF6;     /* 16 */
    uint32_t TCFlagF7;     /* 20 */
    uint32_t TCFlagS7;     /* 24 */
    uint32_t TCFlagM7;     /* 28 */
    uint32_t TCFlagH6;     /* 32 */
    uint32_t TCFlagH7;     /* 36 */
    uint32_t TCUserBits;   /* 40 */
} TCU;

/* ---- Small records ------------------------------------------------------- */

/* Images First to First + Cnt - 1; image numbers count from the trigger. */
typedef struct ImageRange {
    int32_t First;   /* 0  first image number */
    uint32_t Cnt;    /* 4  count of images */
} ImageRange;

/* A rectangle; right and bottom are inclusive. */
typedef struct XeRect {
    int32_t left;     /*  0 */
    int32_t top;      /*  4 */
    int32_t right;    /*  8 */
    int32_t bottom;   /* 12 */
} XeRect;

/* A convolution filter of up to 5 x 5 coefficients. */
typedef struct XeUserFilter {
    int32_t dim;          /*  0  matrix size */
    int32_t shifts;       /*  4  right shift of the sum */
    int32_t bias;         /*  8  added to the result */
    int32_t Coef[5][5];   /* 12  coefficients, row by row */
} XeUserFilter;

/* White-balance gains of one head. */
typedef struct WBGAIN {
    float R;   /* 0  gain of red */
    float B;   /* 4  gain of blue */
} WBGAIN;

/* ---- Cine file header parts ---------------------------------------------- */

/* The first 44 bytes of a cine file. */
typedef struct CineFileHeader {
    uint16_t Type;              /*  0  CINE_TYPE_CI */
    uint16_t HeaderSize;        /*  2  44 */
    uint16_t Compression;       /*  4  XE_COMPRESSION_* */
    uint16_t Version;           /*  6  0: 32-bit image offsets; 1: 64-bit */
    int32_t FirstMovieImage;    /*  8  first image of the recording in the camera */
    uint32_t TotalImageCount;   /* 12  images of the recording in the camera */
    int32_t FirstImageNo;       /* 16  first image stored in this file */
    uint32_t ImageCount;        /* 20  images stored in this file */
    uint32_t OffImageHeader;    /* 24  position of the BitmapInfoHeader */
    uint32_t OffSetup;          /* 28  position of the Setup */
    uint32_t OffImageOffsets;   /* 32  position of the image offsets */
    Time64 TriggerTime;         /* 36  time of the trigger */
} CineFileHeader;

/* The image format, laid out as the bitmap header of that name. */
typedef struct BitmapInfoHeader {
    uint32_t biSize;            /*  0  40 */
    int32_t biWidth;            /*  4  pixels per row */
    int32_t biHeight;           /*  8  rows */
    uint16_t biPlanes;          /* 12  1 */
    uint16_t biBitCount;        /* 14  8 or 16 for gray and raw, 24 or 48 for colour */
    uint32_t biCompression;     /* 16  0, or XE_BI_PACKED */
    uint32_t biSizeImage;       /* 20  bytes of one image */
    int32_t biXPelsPerMeter;    /* 24  62500 in records made in memory */
    int32_t biYPelsPerMeter;    /* 28  same */
    uint32_t biClrUsed;         /* 32  0 */
    uint32_t biClrImportant;    /* 36  grey levels, 2^RealBPP; 0 for 8 bits */
} BitmapInfoHeader;

/* A BitmapInfoHeader extended by the levels of the samples; biSize is 48. */
typedef struct ImageHeader {
    uint32_t biSize;            /*  0  48 */
    int32_t biWidth;            /*  4 */
    int32_t biHeight;           /*  8 */
    uint16_t biPlanes;          /* 12 */
    uint16_t biBitCount;        /* 14 */
    uint32_t biCompression;     /* 16 */
    uint32_t biSizeImage;       /* 20 */
    int32_t biXPelsPerMeter;    /* 24 */
    int32_t biYPelsPerMeter;    /* 28 */
    uint32_t biClrUsed;         /* 32 */
    uint32_t biClrImportant;    /* 36 */
    int32_t BlackLevel;         /* 40  black level of the samples */
    int32_t WhiteLevel;         /* 44  white level of the samples */
} ImageHeader;

/* ---- Setup --------------------------------------------------------------- */

/* The settings record of a recording, 7240 bytes at its present size. It
 * grew at its end: Length tells how much of the record a file holds, and a
 * field is present when Length is greater than its offset. Old fields that
 * newer ones replaced are kept in place. Bytes named Reserved are kept by a
 * reader and passed on by a writer. A bool32 is a uint32_t, 0 or not 0. */
typedef struct Setup {
    uint8_t OldFields[17];            /*    0  Fields of the oldest records, not read by this library */
    uint8_t TrigFrame;                /*   17  Frame sync source: 0 internal, 1 external, 2 locked to IRIG */
    uint8_t Reserved18;               /*   18  Reserved */
    char DescriptionOld[121];         /*   19  Former short description */
    char Mark[2];                     /*  140  Mark of the record, printed with "%c%c" */
    uint16_t Length;                  /*  142  Bytes of this record that the file holds */
    uint8_t Reserved144[2];           /*  144  Reserved */
    uint16_t SigOption;               /*  146  Bit 0 is passed to signal decoding */
    int16_t BinChannels;              /*  148  Binary signal channels */
    uint8_t SamplesPerImage;          /*  150  Signal samples for each image */
    char BinName[8][11];              /*  151  Names of the binary channels */
    uint16_t AnaOption;               /*  239  Bits 0 and 1 are passed to signal decoding */
    int16_t AnaChannels;              /*  241  Analog signal channels */
    uint8_t Reserved243;              /*  243  Reserved */
    uint8_t AnaBoard;                 /*  244  Analog board kind */
    int16_t ChOption[8];              /*  245  Channel options; low 4 bits: range of the channel */
    float AnaGain[8];                 /*  261  Channel gains */
    char AnaUnit[8][6];               /*  293  Channel units */
    char AnaName[8][11];              /*  341  Channel names */
    int32_t lFirstImage;              /*  429  Former first image */
    uint32_t dwImageCount;            /*  433  Former image count */
    int16_t nQFactor;                 /*  437  JPEG quantisation factor of the file */
    uint16_t wCineFileType;           /*  439  Former file type */
    char szCinePath[4][65];           /*  441  Former file paths */
    uint8_t Reserved701[24];          /*  701  Reserved */
    int16_t ContrastR_Old;            /*  725  Former contrast of red */
    int16_t BrightR_Old;              /*  727  Former brightness of red */
    int16_t ContrastG_Old;            /*  729  Former contrast of green */
    int16_t BrightG_Old;              /*  731  Former brightness of green */
    int16_t ContrastB_Old;            /*  733  Former contrast of blue */
    int16_t BrightB_Old;              /*  735  Former brightness of blue */
    uint16_t ImWidth;                 /*  737  Image width in pixels */
    uint16_t ImHeight;                /*  739  Image height in pixels */
    uint8_t Reserved741[2];           /*  741  Reserved */
    uint32_t Serial;                  /*  743  Camera serial number */
    int32_t Saturation;               /*  747  Saturation setting, integer form */
    uint8_t Reserved751;              /*  751  Reserved */
    uint32_t AutoExposure;            /*  752  Automatic exposure on when not 0 */
    uint32_t bFlipH;                  /*  756  Flip horizontally */
    uint32_t bFlipV;                  /*  760  Flip vertically */
    uint32_t Grid;                    /*  764  Grid display option */
    uint32_t FrameRate;               /*  768  Images per second */
    uint32_t Shutter;                 /*  772  Exposure, former unit; see ShutterNs */
    uint32_t EDRShutter;              /*  776  Second exposure, former unit; see EDRShutterNs */
    uint32_t PostTrigger;             /*  780  Images after the trigger */
    uint32_t FrameDelay;              /*  784  Frame delay, former unit; see FrameDelayNs */
    uint32_t bEnableColor;            /*  788  Show in colour */
    uint32_t CameraVersion;           /*  792  Camera model code; 6 and 62 are multi-head models */
    uint32_t FirmwareVersion;         /*  796  Camera firmware version */
    uint32_t SoftwareVersion;         /*  800  Version of the software that wrote the record */
    int32_t RecordingTimeZone;        /*  804  UTC minus local time, in seconds, positive west */
    uint32_t CFA;                     /*  808  Low byte: filter pattern, 0 gray; bits 31..28: gray heads */
    int32_t Bright;                   /*  812  Integer brightness */
    int32_t Contrast;                 /*  816  Integer contrast */
    int32_t Gamma;                    /*  820  Integer gamma */
    uint8_t Reserved824[4];           /*  824  Reserved */
    uint32_t AutoExpLevel;            /*  828  Automatic exposure level */
    uint32_t AutoExpSpeed;            /*  832  Automatic exposure speed */
    XeRect AutoExpRect;               /*  836  Automatic exposure area */
    WBGAIN WBGain[4];                 /*  852  White-balance gains: for each of 4 heads, red then blue */
    int32_t Rotate;                   /*  884  Rotation in degrees. Only 90 and -90 are tested */
    WBGAIN WBView;                    /*  888  White balance for viewing, red then blue */
    uint32_t RealBPP;                 /*  896  Bits used in a sample: 8, 10, 12, 14 or 16 */
    uint32_t Conv8Min;                /*  900  Lower bound of the conversion to 8 bits */
    uint32_t Conv8Max;                /*  904  Upper bound of it */
    int32_t FilterCode;               /*  908  Image filter */
    int32_t FilterParam;              /*  912  Filter parameter */
    XeUserFilter UserFilter;          /*  916  dim @916, shifts @920, bias @924, Coef[5][5] @928 */
    uint32_t BlackCalSVer;            /* 1028  Software version of the black calibration */
    uint32_t WhiteCalSVer;            /* 1032  Same, white */
    uint32_t GrayCalSVer;             /* 1036  Same, gray */
    uint32_t bStampTimeConRec;        /* 1040  Time stamp while recording */
    uint32_t SoundDest;               /* 1044  Sound destination */
    uint32_t FRPSteps;                /* 1048  Frame rate profile steps in use */
    int32_t FRPImgNr[16];             /* 1052  Image number of each step */
    uint32_t FRPRate[16];             /* 1116  Rate of each step */
    uint32_t FRPExp[16];              /* 1180  Exposure of each step */
    int32_t MCCnt;                    /* 1244  Memory partitions (multi cine count) */
    float MCPercent[64];              /* 1248  Share of each partition */
    uint32_t CICalib;                 /* 1504  Calibration information follows */
    uint32_t CalibWidth;              /* 1508  Width of the calibration */
    uint32_t CalibHeight;             /* 1512  Height of the calibration */
    uint32_t CalibRate;               /* 1516  Frame rate of the calibration */
    uint32_t CalibExp;                /* 1520  Exposure of the calibration */
    uint32_t CalibEDR;                /* 1524  Second exposure of the calibration */
    uint32_t CalibTemp;               /* 1528  Sensor temperature of the calibration */
    uint32_t HeadSerial[4];           /* 1532  Serial of each head; 0xFFFFFFFF when the head is absent */
    uint32_t RangeCode;               /* 1548  Kind of range data */
    uint32_t RangeSize;               /* 1552  Bytes of range data for each image */
    uint32_t Decimation;              /* 1556  Decimation of the acquisition */
    uint32_t MasterSerial;            /* 1560  Serial of the master camera */
    uint32_t Sensor;                  /* 1564  Sensor code */
    uint32_t ShutterNs;               /* 1568  Exposure in nanoseconds */
    uint32_t EDRShutterNs;            /* 1572  Second exposure in nanoseconds */
    uint32_t FrameDelayNs;            /* 1576  Frame delay in nanoseconds */
    uint32_t ImPosXAcq;               /* 1580  Acquisition rectangle, left */
    uint32_t ImPosYAcq;               /* 1584  Acquisition rectangle, top */
    uint32_t ImWidthAcq;              /* 1588  Acquired width */
    uint32_t ImHeightAcq;             /* 1592  Acquired height */
    char Description[4096];           /* 1596  Description, up to 4095 characters */
    uint32_t RisingEdge;              /* 5692  Trigger edge */
    uint32_t FilterTime;              /* 5696  Trigger filter time */
    uint32_t LongReady;               /* 5700  Long ready signal */
    uint32_t ShutterOff;              /* 5704  Shutter off */
    int32_t ResetLine_Old;            /* 5708  Former reset line */
    double ResetLineFactor_Old;       /* 5712  Former reset line factor */
    uint32_t ResetLineCorrected_Old;  /* 5720  Former corrected reset line */
    uint32_t bMetaWB;                 /* 5724  White balance is metadata, not applied to the samples */
    int32_t Hue;                      /* 5728  Integer hue */
    int32_t BlackLevel;               /* 5732  Black level of the images */
    int32_t WhiteLevel;               /* 5736  White level of the images */
    char LensDescription[256];        /* 5740  Lens description */
    float LensAperture;               /* 5996  Lens aperture */
    float LensFocusDistance;          /* 6000  Lens focus distance */
    float LensFocalLength;            /* 6004  Lens focal length */
    float fOffset;                    /* 6008  Offset, float form of the tone and colour settings */
    float fGain;                      /* 6012  Gain */
    float fSaturation;                /* 6016  Saturation */
    float fHue;                       /* 6020  Hue */
    float fGamma;                     /* 6024  Gamma */
    float fGammaR;                    /* 6028  Gamma of red */
    float fGammaB;                    /* 6032  Gamma of blue */
    float fFlare;                     /* 6036  Flare */
    float fPedestalR;                 /* 6040  Pedestal of red */
    float fPedestalG;                 /* 6044  Pedestal of green */
    float fPedestalB;                 /* 6048  Pedestal of blue */
    float fChroma;                    /* 6052  Chroma */
    char ToneLabel[256];              /* 6056  Name of the tone curve */
    uint32_t TonePoints;              /* 6312  Points in use in fTone */
    float fTone[32][2];               /* 6316  Tone curve, (x, y) pairs */
    char UserMatrixLabel[256];        /* 6572  Name of the user colour matrix */
    uint32_t EnableMatrices;          /* 6828  Apply the user colour matrix */
    float fUserMatrix[9];             /* 6832  User colour matrix, 3 x 3, row by row */
    uint32_t EnableCrop;              /* 6868  Crop on processing */
    XeRect CropRect;                  /* 6872  Crop rectangle */
    uint32_t EnableResample;          /* 6888  Resample on processing */
    uint32_t ResampleWidth;           /* 6892  Width after resampling */
    uint32_t ResampleHeight;          /* 6896  Height after resampling */
    float fGain16_8;                  /* 6900  Gain of the reduction from 16 to 8 bits */
    uint32_t FRPShape[16];            /* 6904  Shape of each frame rate profile step */
    TC TimeCode;                      /* 6968  Timecode of image 0 */
    float TCBaseRate;                 /* 6976  Timecode base rate */
    float TCRate;                     /* 6980  Timecode rate */
    char CineName[256];               /* 6984  User's name of the cine */
} Setup;

/* ---- Tagged area --------------------------------------------------------- */

/* Head of a block of the tagged area; BlockSize - 8 bytes of data follow. */
typedef struct TAGGED_BLOCK_HEADER {
    uint32_t BlockSize;   /* 0  bytes of the block, these 8 included */
    uint16_t Type;        /* 4  XE_TAG_* */
    uint16_t Reserved;    /* 6  0 or 1; bit 0 set: another block follows */
} TAGGED_BLOCK_HEADER;

/* ---- Values of selectors and of the adjustments interface ---------------- */

/* The tone curve of the Setup as one value. */
typedef struct ToneCurveInfo {
    uint32_t TonePoints;    /*   0  points in use */
    float fTone[32][2];     /*   4  (input, output) pairs */
    char ToneLabel[256];    /* 260  name of the curve */
} ToneCurveInfo;

/* The user colour matrix of the Setup as one value. */
typedef struct UserMatrixInfo {
    float fUserMatrix[9];         /*   0  3 x 3, row by row */
    char UserMatrixLabel[256];    /*  36  name of the matrix */
} UserMatrixInfo;

/* The image adjustments in their older, integer form. */
typedef struct IMPROCOPTIONS {
    int32_t Bright;             /*   0  brightness */
    int32_t Contrast;           /*   4  contrast */
    float Gamma;                /*   8  gamma */
    int32_t Saturation;         /*  12  saturation */
    int32_t FlipH;              /*  16  flip horizontally */
    int32_t FlipV;              /*  20  flip vertically */
    int32_t Rotate;             /*  24  rotation in degrees */
    float WBRed;                /*  28  white balance, red */
    float WBBlue;               /*  32  white balance, blue */
    int32_t FilterCode;         /*  36  image filter */
    int32_t FilterParam;        /*  40  filter parameter */
    XeUserFilter UserFilter;    /*  44  user filter */
    int32_t Hue;                /* 156  hue */
    uint8_t Reserved160[16];    /* 160  zero */
} IMPROCOPTIONS;

#pragma pack(pop)

/* ---- Layout checks ------------------------------------------------------- */

XE_STATIC_ASSERT(sizeof(float) == 4, "float is not 32 bits");
XE_STATIC_ASSERT(sizeof(double) == 8, "double is not 64 bits");

XE_STATIC_ASSERT(sizeof(Time64) == 8, "sizeof(Time64)");
XE_STATIC_ASSERT(offsetof(Time64, fractions) == 0, "Time64.fractions");
XE_STATIC_ASSERT(offsetof(Time64, seconds) == 4, "Time64.seconds");

XE_STATIC_ASSERT(sizeof(TC) == 8, "sizeof(TC)");
XE_STATIC_ASSERT(offsetof(TC, frames) == 0, "TC.frames");
XE_STATIC_ASSERT(offsetof(TC, seconds) == 1, "TC.seconds");
XE_STATIC_ASSERT(offsetof(TC, minutes) == 2, "TC.minutes");
XE_STATIC_ASSERT(offsetof(TC, hours) == 3, "TC.hours");
XE_STATIC_ASSERT(offsetof(TC, TCUserBits) == 4, "TC.TCUserBits");

XE_STATIC_ASSERT(sizeof(TCU) == 44, "sizeof(TCU)");
XE_STATIC_ASSERT(offsetof(TCU, frames) == 0, "TCU.frames");
XE_STATIC_ASSERT(offsetof(TCU, seconds) == 4, "TCU.seconds");
XE_STATIC_ASSERT(offsetof(TCU, minutes) == 8, "TCU.minutes");
XE_STATIC_ASSERT(offsetof(TCU, hours) == 12, "TCU.hours");
XE_STATIC_ASSERT(offsetof(TCU, TCFlagF6) == 16, "TCU.TCFlagF6");
XE_STATIC_ASSERT(offsetof(TCU, TCFlagF7) == 20, "TCU.TCFlagF7");
XE_STATIC_ASSERT(offsetof(TCU, TCFlagS7) == 24, "TCU.TCFlagS7");
XE_STATIC_ASSERT(offsetof(TCU, TCFlagM7) == 28, "TCU.TCFlagM7");
XE_STATIC_ASSERT(offsetof(TCU, TCFlagH6) == 32, "TCU.TCFlagH6");
XE_STATIC_ASSERT(offsetof(TCU, TCFlagH7) == 36, "TCU.TCFlagH7");
XE_STATIC_ASSERT(offsetof(TCU, TCUserBits) == 40, "TCU.TCUserBits");

XE_STATIC_ASSERT(sizeof(ImageRange) == 8, "sizeof(ImageRange)");
XE_STATIC_ASSERT(offsetof(ImageRange, First) == 0, "ImageRange.First");
XE_STATIC_ASSERT(offsetof(ImageRange, Cnt) == 4, "ImageRange.Cnt");

XE_STATIC_ASSERT(sizeof(XeRect) == 16, "sizeof(XeRect)");
XE_STATIC_ASSERT(offsetof(XeRect, left) == 0, "XeRect.left");
XE_STATIC_ASSERT(offsetof(XeRect, top) == 4, "XeRect.top");
XE_STATIC_ASSERT(offsetof(XeRect, right) == 8, "XeRect.right");
XE_STATIC_ASSERT(offsetof(XeRect, bottom) == 12, "XeRect.bottom");

XE_STATIC_ASSERT(sizeof(XeUserFilter) == 112, "sizeof(XeUserFilter)");
XE_STATIC_ASSERT(offsetof(XeUserFilter, dim) == 0, "XeUserFilter.dim");
XE_STATIC_ASSERT(offsetof(XeUserFilter, shifts) == 4, "XeUserFilter.shifts");
XE_STATIC_ASSERT(offsetof(XeUserFilter, bias) == 8, "XeUserFilter.bias");
XE_STATIC_ASSERT(offsetof(XeUserFilter, Coef) == 12, "XeUserFilter.Coef");

XE_STATIC_ASSERT(sizeof(WBGAIN) == 8, "sizeof(WBGAIN)");
XE_STATIC_ASSERT(offsetof(WBGAIN, R) == 0, "WBGAIN.R");
XE_STATIC_ASSERT(offsetof(WBGAIN, B) == 4, "WBGAIN.B");

XE_STATIC_ASSERT(sizeof(CineFileHeader) == 44, "sizeof(CineFileHeader)");
XE_STATIC_ASSERT(offsetof(CineFileHeader, Type) == 0, "CineFileHeader.Type");
XE_STATIC_ASSERT(offsetof(CineFileHeader, HeaderSize) == 2, "CineFileHeader.HeaderSize");
XE_STATIC_ASSERT(offsetof(CineFileHeader, Compression) == 4, "CineFileHeader.Compression");
XE_STATIC_ASSERT(offsetof(CineFileHeader, Version) == 6, "CineFileHeader.Version");
XE_STATIC_ASSERT(offsetof(CineFileHeader, FirstMovieImage) == 8, "CineFileHeader.FirstMovieImage");
XE_STATIC_ASSERT(offsetof(CineFileHeader, TotalImageCount) == 12, "CineFileHeader.TotalImageCount");
XE_STATIC_ASSERT(offsetof(CineFileHeader, FirstImageNo) == 16, "CineFileHeader.FirstImageNo");
XE_STATIC_ASSERT(offsetof(CineFileHeader, ImageCount) == 20, "CineFileHeader.ImageCount");
XE_STATIC_ASSERT(offsetof(CineFileHeader, OffImageHeader) == 24, "CineFileHeader.OffImageHeader");
XE_STATIC_ASSERT(offsetof(CineFileHeader, OffSetup) == 28, "CineFileHeader.OffSetup");
XE_STATIC_ASSERT(offsetof(CineFileHeader, OffImageOffsets) == 32, "CineFileHeader.OffImageOffsets");
XE_STATIC_ASSERT(offsetof(CineFileHeader, TriggerTime) == 36, "CineFileHeader.TriggerTime");

XE_STATIC_ASSERT(sizeof(BitmapInfoHeader) == 40, "sizeof(BitmapInfoHeader)");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biSize) == 0, "BitmapInfoHeader.biSize");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biWidth) == 4, "BitmapInfoHeader.biWidth");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biHeight) == 8, "BitmapInfoHeader.biHeight");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biPlanes) == 12, "BitmapInfoHeader.biPlanes");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biBitCount) == 14, "BitmapInfoHeader.biBitCount");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biCompression) == 16, "BitmapInfoHeader.biCompression");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biSizeImage) == 20, "BitmapInfoHeader.biSizeImage");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biXPelsPerMeter) == 24, "BitmapInfoHeader.biXPelsPerMeter");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biYPelsPerMeter) == 28, "BitmapInfoHeader.biYPelsPerMeter");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biClrUsed) == 32, "BitmapInfoHeader.biClrUsed");
XE_STATIC_ASSERT(offsetof(BitmapInfoHeader, biClrImportant) == 36, "BitmapInfoHeader.biClrImportant");

XE_STATIC_ASSERT(sizeof(ImageHeader) == 48, "sizeof(ImageHeader)");
XE_STATIC_ASSERT(offsetof(ImageHeader, biSize) == 0, "ImageHeader.biSize");
XE_STATIC_ASSERT(offsetof(ImageHeader, biWidth) == 4, "ImageHeader.biWidth");
XE_STATIC_ASSERT(offsetof(ImageHeader, biHeight) == 8, "ImageHeader.biHeight");
XE_STATIC_ASSERT(offsetof(ImageHeader, biPlanes) == 12, "ImageHeader.biPlanes");
XE_STATIC_ASSERT(offsetof(ImageHeader, biBitCount) == 14, "ImageHeader.biBitCount");
XE_STATIC_ASSERT(offsetof(ImageHeader, biCompression) == 16, "ImageHeader.biCompression");
XE_STATIC_ASSERT(offsetof(ImageHeader, biSizeImage) == 20, "ImageHeader.biSizeImage");
XE_STATIC_ASSERT(offsetof(ImageHeader, biXPelsPerMeter) == 24, "ImageHeader.biXPelsPerMeter");
XE_STATIC_ASSERT(offsetof(ImageHeader, biYPelsPerMeter) == 28, "ImageHeader.biYPelsPerMeter");
XE_STATIC_ASSERT(offsetof(ImageHeader, biClrUsed) == 32, "ImageHeader.biClrUsed");
XE_STATIC_ASSERT(offsetof(ImageHeader, biClrImportant) == 36, "ImageHeader.biClrImportant");
XE_STATIC_ASSERT(offsetof(ImageHeader, BlackLevel) == 40, "ImageHeader.BlackLevel");
XE_STATIC_ASSERT(offsetof(ImageHeader, WhiteLevel) == 44, "ImageHeader.WhiteLevel");

XE_STATIC_ASSERT(sizeof(Setup) == SETUP_LENGTH, "sizeof(Setup)");
XE_STATIC_ASSERT(offsetof(Setup, OldFields) == 0, "Setup.OldFields");
XE_STATIC_ASSERT(offsetof(Setup, TrigFrame) == 17, "Setup.TrigFrame");
XE_STATIC_ASSERT(offsetof(Setup, Reserved18) == 18, "Setup.Reserved18");
XE_STATIC_ASSERT(offsetof(Setup, DescriptionOld) == 19, "Setup.DescriptionOld");
XE_STATIC_ASSERT(offsetof(Setup, Mark) == 140, "Setup.Mark");
XE_STATIC_ASSERT(offsetof(Setup, Length) == 142, "Setup.Length");
XE_STATIC_ASSERT(offsetof(Setup, Reserved144) == 144, "Setup.Reserved144");
XE_STATIC_ASSERT(offsetof(Setup, SigOption) == 146, "Setup.SigOption");
XE_STATIC_ASSERT(offsetof(Setup, BinChannels) == 148, "Setup.BinChannels");
XE_STATIC_ASSERT(offsetof(Setup, SamplesPerImage) == 150, "Setup.SamplesPerImage");
XE_STATIC_ASSERT(offsetof(Setup, BinName) == 151, "Setup.BinName");
XE_STATIC_ASSERT(offsetof(Setup, AnaOption) == 239, "Setup.AnaOption");
XE_STATIC_ASSERT(offsetof(Setup, AnaChannels) == 241, "Setup.AnaChannels");
XE_STATIC_ASSERT(offsetof(Setup, Reserved243) == 243, "Setup.Reserved243");
XE_STATIC_ASSERT(offsetof(Setup, AnaBoard) == 244, "Setup.AnaBoard");
XE_STATIC_ASSERT(offsetof(Setup, ChOption) == 245, "Setup.ChOption");
XE_STATIC_ASSERT(offsetof(Setup, AnaGain) == 261, "Setup.AnaGain");
XE_STATIC_ASSERT(offsetof(Setup, AnaUnit) == 293, "Setup.AnaUnit");
XE_STATIC_ASSERT(offsetof(Setup, AnaName) == 341, "Setup.AnaName");
XE_STATIC_ASSERT(offsetof(Setup, lFirstImage) == 429, "Setup.lFirstImage");
XE_STATIC_ASSERT(offsetof(Setup, dwImageCount) == 433, "Setup.dwImageCount");
XE_STATIC_ASSERT(offsetof(Setup, nQFactor) == 437, "Setup.nQFactor");
XE_STATIC_ASSERT(offsetof(Setup, wCineFileType) == 439, "Setup.wCineFileType");
XE_STATIC_ASSERT(offsetof(Setup, szCinePath) == 441, "Setup.szCinePath");
XE_STATIC_ASSERT(offsetof(Setup, Reserved701) == 701, "Setup.Reserved701");
XE_STATIC_ASSERT(offsetof(Setup, ContrastR_Old) == 725, "Setup.ContrastR_Old");
XE_STATIC_ASSERT(offsetof(Setup, BrightR_Old) == 727, "Setup.BrightR_Old");
XE_STATIC_ASSERT(offsetof(Setup, ContrastG_Old) == 729, "Setup.ContrastG_Old");
XE_STATIC_ASSERT(offsetof(Setup, BrightG_Old) == 731, "Setup.BrightG_Old");
XE_STATIC_ASSERT(offsetof(Setup, ContrastB_Old) == 733, "Setup.ContrastB_Old");
XE_STATIC_ASSERT(offsetof(Setup, BrightB_Old) == 735, "Setup.BrightB_Old");
XE_STATIC_ASSERT(offsetof(Setup, ImWidth) == 737, "Setup.ImWidth");
XE_STATIC_ASSERT(offsetof(Setup, ImHeight) == 739, "Setup.ImHeight");
XE_STATIC_ASSERT(offsetof(Setup, Reserved741) == 741, "Setup.Reserved741");
XE_STATIC_ASSERT(offsetof(Setup, Serial) == 743, "Setup.Serial");
XE_STATIC_ASSERT(offsetof(Setup, Saturation) == 747, "Setup.Saturation");
XE_STATIC_ASSERT(offsetof(Setup, Reserved751) == 751, "Setup.Reserved751");
XE_STATIC_ASSERT(offsetof(Setup, AutoExposure) == 752, "Setup.AutoExposure");
XE_STATIC_ASSERT(offsetof(Setup, bFlipH) == 756, "Setup.bFlipH");
XE_STATIC_ASSERT(offsetof(Setup, bFlipV) == 760, "Setup.bFlipV");
XE_STATIC_ASSERT(offsetof(Setup, Grid) == 764, "Setup.Grid");
XE_STATIC_ASSERT(offsetof(Setup, FrameRate) == 768, "Setup.FrameRate");
XE_STATIC_ASSERT(offsetof(Setup, Shutter) == 772, "Setup.Shutter");
XE_STATIC_ASSERT(offsetof(Setup, EDRShutter) == 776, "Setup.EDRShutter");
XE_STATIC_ASSERT(offsetof(Setup, PostTrigger) == 780, "Setup.PostTrigger");
XE_STATIC_ASSERT(offsetof(Setup, FrameDelay) == 784, "Setup.FrameDelay");
XE_STATIC_ASSERT(offsetof(Setup, bEnableColor) == 788, "Setup.bEnableColor");
XE_STATIC_ASSERT(offsetof(Setup, CameraVersion) == 792, "Setup.CameraVersion");
XE_STATIC_ASSERT(offsetof(Setup, FirmwareVersion) == 796, "Setup.FirmwareVersion");
XE_STATIC_ASSERT(offsetof(Setup, SoftwareVersion) == 800, "Setup.SoftwareVersion");
XE_STATIC_ASSERT(offsetof(Setup, RecordingTimeZone) == 804, "Setup.RecordingTimeZone");
XE_STATIC_ASSERT(offsetof(Setup, CFA) == 808, "Setup.CFA");
XE_STATIC_ASSERT(offsetof(Setup, Bright) == 812, "Setup.Bright");
XE_STATIC_ASSERT(offsetof(Setup, Contrast) == 816, "Setup.Contrast");
XE_STATIC_ASSERT(offsetof(Setup, Gamma) == 820, "Setup.Gamma");
XE_STATIC_ASSERT(offsetof(Setup, Reserved824) == 824, "Setup.Reserved824");
XE_STATIC_ASSERT(offsetof(Setup, AutoExpLevel) == 828, "Setup.AutoExpLevel");
XE_STATIC_ASSERT(offsetof(Setup, AutoExpSpeed) == 832, "Setup.AutoExpSpeed");
XE_STATIC_ASSERT(offsetof(Setup, AutoExpRect) == 836, "Setup.AutoExpRect");
XE_STATIC_ASSERT(offsetof(Setup, WBGain) == 852, "Setup.WBGain");
XE_STATIC_ASSERT(offsetof(Setup, Rotate) == 884, "Setup.Rotate");
XE_STATIC_ASSERT(offsetof(Setup, WBView) == 888, "Setup.WBView");
XE_STATIC_ASSERT(offsetof(Setup, RealBPP) == 896, "Setup.RealBPP");
XE_STATIC_ASSERT(offsetof(Setup, Conv8Min) == 900, "Setup.Conv8Min");
XE_STATIC_ASSERT(offsetof(Setup, Conv8Max) == 904, "Setup.Conv8Max");
XE_STATIC_ASSERT(offsetof(Setup, FilterCode) == 908, "Setup.FilterCode");
XE_STATIC_ASSERT(offsetof(Setup, FilterParam) == 912, "Setup.FilterParam");
XE_STATIC_ASSERT(offsetof(Setup, UserFilter) == 916, "Setup.UserFilter");
XE_STATIC_ASSERT(offsetof(Setup, UserFilter) + offsetof(XeUserFilter, dim) == 916, "Setup.UserFilter.dim");
XE_STATIC_ASSERT(offsetof(Setup, UserFilter) + offsetof(XeUserFilter, shifts) == 920, "Setup.UserFilter.shifts");
XE_STATIC_ASSERT(offsetof(Setup, UserFilter) + offsetof(XeUserFilter, bias) == 924, "Setup.UserFilter.bias");
XE_STATIC_ASSERT(offsetof(Setup, UserFilter) + offsetof(XeUserFilter, Coef) == 928, "Setup.UserFilter.Coef");
XE_STATIC_ASSERT(offsetof(Setup, BlackCalSVer) == 1028, "Setup.BlackCalSVer");
XE_STATIC_ASSERT(offsetof(Setup, WhiteCalSVer) == 1032, "Setup.WhiteCalSVer");
XE_STATIC_ASSERT(offsetof(Setup, GrayCalSVer) == 1036, "Setup.GrayCalSVer");
XE_STATIC_ASSERT(offsetof(Setup, bStampTimeConRec) == 1040, "Setup.bStampTimeConRec");
XE_STATIC_ASSERT(offsetof(Setup, SoundDest) == 1044, "Setup.SoundDest");
XE_STATIC_ASSERT(offsetof(Setup, FRPSteps) == 1048, "Setup.FRPSteps");
XE_STATIC_ASSERT(offsetof(Setup, FRPImgNr) == 1052, "Setup.FRPImgNr");
XE_STATIC_ASSERT(offsetof(Setup, FRPRate) == 1116, "Setup.FRPRate");
XE_STATIC_ASSERT(offsetof(Setup, FRPExp) == 1180, "Setup.FRPExp");
XE_STATIC_ASSERT(offsetof(Setup, MCCnt) == 1244, "Setup.MCCnt");
XE_STATIC_ASSERT(offsetof(Setup, MCPercent) == 1248, "Setup.MCPercent");
XE_STATIC_ASSERT(offsetof(Setup, CICalib) == 1504, "Setup.CICalib");
XE_STATIC_ASSERT(offsetof(Setup, CalibWidth) == 1508, "Setup.CalibWidth");
XE_STATIC_ASSERT(offsetof(Setup, CalibHeight) == 1512, "Setup.CalibHeight");
XE_STATIC_ASSERT(offsetof(Setup, CalibRate) == 1516, "Setup.CalibRate");
XE_STATIC_ASSERT(offsetof(Setup, CalibExp) == 1520, "Setup.CalibExp");
XE_STATIC_ASSERT(offsetof(Setup, CalibEDR) == 1524, "Setup.CalibEDR");
XE_STATIC_ASSERT(offsetof(Setup, CalibTemp) == 1528, "Setup.CalibTemp");
XE_STATIC_ASSERT(offsetof(Setup, HeadSerial) == 1532, "Setup.HeadSerial");
XE_STATIC_ASSERT(offsetof(Setup, RangeCode) == 1548, "Setup.RangeCode");
XE_STATIC_ASSERT(offsetof(Setup, RangeSize) == 1552, "Setup.RangeSize");
XE_STATIC_ASSERT(offsetof(Setup, Decimation) == 1556, "Setup.Decimation");
XE_STATIC_ASSERT(offsetof(Setup, MasterSerial) == 1560, "Setup.MasterSerial");
XE_STATIC_ASSERT(offsetof(Setup, Sensor) == 1564, "Setup.Sensor");
XE_STATIC_ASSERT(offsetof(Setup, ShutterNs) == 1568, "Setup.ShutterNs");
XE_STATIC_ASSERT(offsetof(Setup, EDRShutterNs) == 1572, "Setup.EDRShutterNs");
XE_STATIC_ASSERT(offsetof(Setup, FrameDelayNs) == 1576, "Setup.FrameDelayNs");
XE_STATIC_ASSERT(offsetof(Setup, ImPosXAcq) == 1580, "Setup.ImPosXAcq");
XE_STATIC_ASSERT(offsetof(Setup, ImPosYAcq) == 1584, "Setup.ImPosYAcq");
XE_STATIC_ASSERT(offsetof(Setup, ImWidthAcq) == 1588, "Setup.ImWidthAcq");
XE_STATIC_ASSERT(offsetof(Setup, ImHeightAcq) == 1592, "Setup.ImHeightAcq");
XE_STATIC_ASSERT(offsetof(Setup, Description) == 1596, "Setup.Description");
XE_STATIC_ASSERT(offsetof(Setup, RisingEdge) == 5692, "Setup.RisingEdge");
XE_STATIC_ASSERT(offsetof(Setup, FilterTime) == 5696, "Setup.FilterTime");
XE_STATIC_ASSERT(offsetof(Setup, LongReady) == 5700, "Setup.LongReady");
XE_STATIC_ASSERT(offsetof(Setup, ShutterOff) == 5704, "Setup.ShutterOff");
XE_STATIC_ASSERT(offsetof(Setup, ResetLine_Old) == 5708, "Setup.ResetLine_Old");
XE_STATIC_ASSERT(offsetof(Setup, ResetLineFactor_Old) == 5712, "Setup.ResetLineFactor_Old");
XE_STATIC_ASSERT(offsetof(Setup, ResetLineCorrected_Old) == 5720, "Setup.ResetLineCorrected_Old");
XE_STATIC_ASSERT(offsetof(Setup, bMetaWB) == 5724, "Setup.bMetaWB");
XE_STATIC_ASSERT(offsetof(Setup, Hue) == 5728, "Setup.Hue");
XE_STATIC_ASSERT(offsetof(Setup, BlackLevel) == 5732, "Setup.BlackLevel");
XE_STATIC_ASSERT(offsetof(Setup, WhiteLevel) == 5736, "Setup.WhiteLevel");
XE_STATIC_ASSERT(offsetof(Setup, LensDescription) == 5740, "Setup.LensDescription");
XE_STATIC_ASSERT(offsetof(Setup, LensAperture) == 5996, "Setup.LensAperture");
XE_STATIC_ASSERT(offsetof(Setup, LensFocusDistance) == 6000, "Setup.LensFocusDistance");
XE_STATIC_ASSERT(offsetof(Setup, LensFocalLength) == 6004, "Setup.LensFocalLength");
XE_STATIC_ASSERT(offsetof(Setup, fOffset) == 6008, "Setup.fOffset");
XE_STATIC_ASSERT(offsetof(Setup, fGain) == 6012, "Setup.fGain");
XE_STATIC_ASSERT(offsetof(Setup, fSaturation) == 6016, "Setup.fSaturation");
XE_STATIC_ASSERT(offsetof(Setup, fHue) == 6020, "Setup.fHue");
XE_STATIC_ASSERT(offsetof(Setup, fGamma) == 6024, "Setup.fGamma");
XE_STATIC_ASSERT(offsetof(Setup, fGammaR) == 6028, "Setup.fGammaR");
XE_STATIC_ASSERT(offsetof(Setup, fGammaB) == 6032, "Setup.fGammaB");
XE_STATIC_ASSERT(offsetof(Setup, fFlare) == 6036, "Setup.fFlare");
XE_STATIC_ASSERT(offsetof(Setup, fPedestalR) == 6040, "Setup.fPedestalR");
XE_STATIC_ASSERT(offsetof(Setup, fPedestalG) == 6044, "Setup.fPedestalG");
XE_STATIC_ASSERT(offsetof(Setup, fPedestalB) == 6048, "Setup.fPedestalB");
XE_STATIC_ASSERT(offsetof(Setup, fChroma) == 6052, "Setup.fChroma");
XE_STATIC_ASSERT(offsetof(Setup, ToneLabel) == 6056, "Setup.ToneLabel");
XE_STATIC_ASSERT(offsetof(Setup, TonePoints) == 6312, "Setup.TonePoints");
XE_STATIC_ASSERT(offsetof(Setup, fTone) == 6316, "Setup.fTone");
XE_STATIC_ASSERT(offsetof(Setup, UserMatrixLabel) == 6572, "Setup.UserMatrixLabel");
XE_STATIC_ASSERT(offsetof(Setup, EnableMatrices) == 6828, "Setup.EnableMatrices");
XE_STATIC_ASSERT(offsetof(Setup, fUserMatrix) == 6832, "Setup.fUserMatrix");
XE_STATIC_ASSERT(offsetof(Setup, EnableCrop) == 6868, "Setup.EnableCrop");
XE_STATIC_ASSERT(offsetof(Setup, CropRect) == 6872, "Setup.CropRect");
XE_STATIC_ASSERT(offsetof(Setup, EnableResample) == 6888, "Setup.EnableResample");
XE_STATIC_ASSERT(offsetof(Setup, ResampleWidth) == 6892, "Setup.ResampleWidth");
XE_STATIC_ASSERT(offsetof(Setup, ResampleHeight) == 6896, "Setup.ResampleHeight");
XE_STATIC_ASSERT(offsetof(Setup, fGain16_8) == 6900, "Setup.fGain16_8");
XE_STATIC_ASSERT(offsetof(Setup, FRPShape) == 6904, "Setup.FRPShape");
XE_STATIC_ASSERT(offsetof(Setup, TimeCode) == 6968, "Setup.TimeCode");
XE_STATIC_ASSERT(offsetof(Setup, TCBaseRate) == 6976, "Setup.TCBaseRate");
XE_STATIC_ASSERT(offsetof(Setup, TCRate) == 6980, "Setup.TCRate");
XE_STATIC_ASSERT(offsetof(Setup, CineName) == 6984, "Setup.CineName");

XE_STATIC_ASSERT(sizeof(TAGGED_BLOCK_HEADER) == 8, "sizeof(TAGGED_BLOCK_HEADER)");
XE_STATIC_ASSERT(offsetof(TAGGED_BLOCK_HEADER, BlockSize) == 0, "TAGGED_BLOCK_HEADER.BlockSize");
XE_STATIC_ASSERT(offsetof(TAGGED_BLOCK_HEADER, Type) == 4, "TAGGED_BLOCK_HEADER.Type");
XE_STATIC_ASSERT(offsetof(TAGGED_BLOCK_HEADER, Reserved) == 6, "TAGGED_BLOCK_HEADER.Reserved");

XE_STATIC_ASSERT(sizeof(ToneCurveInfo) == 516, "sizeof(ToneCurveInfo)");
XE_STATIC_ASSERT(offsetof(ToneCurveInfo, TonePoints) == 0, "ToneCurveInfo.TonePoints");
XE_STATIC_ASSERT(offsetof(ToneCurveInfo, fTone) == 4, "ToneCurveInfo.fTone");
XE_STATIC_ASSERT(offsetof(ToneCurveInfo, ToneLabel) == 260, "ToneCurveInfo.ToneLabel");

XE_STATIC_ASSERT(sizeof(UserMatrixInfo) == 292, "sizeof(UserMatrixInfo)");
XE_STATIC_ASSERT(offsetof(UserMatrixInfo, fUserMatrix) == 0, "UserMatrixInfo.fUserMatrix");
XE_STATIC_ASSERT(offsetof(UserMatrixInfo, UserMatrixLabel) == 36, "UserMatrixInfo.UserMatrixLabel");

XE_STATIC_ASSERT(sizeof(IMPROCOPTIONS) == 176, "sizeof(IMPROCOPTIONS)");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Bright) == 0, "IMPROCOPTIONS.Bright");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Contrast) == 4, "IMPROCOPTIONS.Contrast");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Gamma) == 8, "IMPROCOPTIONS.Gamma");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Saturation) == 12, "IMPROCOPTIONS.Saturation");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, FlipH) == 16, "IMPROCOPTIONS.FlipH");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, FlipV) == 20, "IMPROCOPTIONS.FlipV");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Rotate) == 24, "IMPROCOPTIONS.Rotate");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, WBRed) == 28, "IMPROCOPTIONS.WBRed");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, WBBlue) == 32, "IMPROCOPTIONS.WBBlue");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, FilterCode) == 36, "IMPROCOPTIONS.FilterCode");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, FilterParam) == 40, "IMPROCOPTIONS.FilterParam");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, UserFilter) == 44, "IMPROCOPTIONS.UserFilter");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Hue) == 156, "IMPROCOPTIONS.Hue");
XE_STATIC_ASSERT(offsetof(IMPROCOPTIONS, Reserved160) == 160, "IMPROCOPTIONS.Reserved160");

#endif /* XEFILE_RECORDS_H */
