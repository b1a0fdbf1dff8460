/* XeFile cine information selectors.
 *
 * The numbers passed to XeGetCineInfo and XeSetCineInfo. The number is what
 * crosses the interface; the names are for the code. Each comment gives the
 * type of the value behind the pointer. "as u32" means a narrower field that
 * is handed over widened to 32 bits (u16 and u8 zero-extended, i16
 * sign-extended). Numbers that are not defined here are refused. */
#ifndef XEFILE_SELECTORS_H
#define XEFILE_SELECTORS_H

/* Recording facts. Read only, except CIS_Rotate and CIS_TimeFormat. */
#define CIS_CFA                        0   /* u32 */
#define CIS_FrameRate                  1   /* u32 */
#define CIS_Shutter                    2   /* u32 */
#define CIS_AutoExposure               3   /* u32 */
#define CIS_RealBPP                    4   /* u32 */
#define CIS_Serial                     5   /* u32 */
#define CIS_HeadSerial0                6   /* u32 */
#define CIS_HeadSerial1                7   /* u32 */
#define CIS_HeadSerial2                8   /* u32 */
#define CIS_HeadSerial3                9   /* u32 */
#define CIS_TriggerSeconds            10   /* u32 */
#define CIS_TriggerFractions          11   /* u32 */
#define CIS_IsFileCine                12   /* u32 */
#define CIS_Is16Bit                   13   /* u32 */
#define CIS_IsColor                   14   /* u32 */
#define CIS_IsMultiHead               15   /* u32 */
#define CIS_ShutterNs                 16   /* u32 */
#define CIS_EDRShutterNs              17   /* u32 */
#define CIS_FrameDelayNs              19   /* u32 */
#define CIS_SourceFileType            20   /* i16 as i32 */
#define CIS_Compression               21   /* u16 as u32 */
#define CIS_CameraVersion             22   /* u32 */
#define CIS_Rotate                    23   /* i32 */
#define CIS_ImWidth                   24   /* u16 as u32 */
#define CIS_ImHeight                  25   /* u16 as u32 */
#define CIS_ImWidthAcq                26   /* u32 */
#define CIS_ImHeightAcq               27   /* u32 */
#define CIS_PostTrigger               28   /* u32 */
#define CIS_ImageCount                29   /* u32 */
#define CIS_TotalImageCount           30   /* u32 */
#define CIS_TrigFrame                 31   /* u8 as u32 */
#define CIS_AutoExpLevel              32   /* u32 */
#define CIS_AutoExpTop                33   /* i32 */
#define CIS_AutoExpLeft               34   /* i32 */
#define CIS_AutoExpBottom             35   /* i32 */
#define CIS_AutoExpRight              36   /* i32 */
#define CIS_RecordingTimeZone         37   /* i32 */
#define CIS_FirstImageNo              38   /* i32 */
#define CIS_FirstMovieImage           39   /* i32 */
#define CIS_CineName                  40   /* text, cine name */
#define CIS_TimeFormat                41   /* u32 */

/* Frame rate profile and lens. Read only. */
#define CIS_FRPSteps                 100   /* u32 */
#define CIS_FRPImgNr0                101   /* i32 */
#define CIS_FRPRate0                 102   /* u32 */
#define CIS_FRPImgNr1                103   /* i32 */
#define CIS_FRPRate1                 104   /* u32 */
#define CIS_FRPImgNr2                105   /* i32 */
#define CIS_FRPRate2                 106   /* u32 */
#define CIS_FRPImgNr3                107   /* i32 */
#define CIS_FRPRate3                 108   /* u32 */
#define CIS_LastSaveStatus           109   /* i32, status of the last save */
#define CIS_LensDescription          110   /* 256 bytes, lens description */
#define CIS_LensAperture             111   /* f32 */
#define CIS_LensFocalLength          112   /* f32 */

/* Image processing. Most are Setup fields; several are mirrored by the camera
 * of a live cine. */
#define CIS_WBGain                   200   /* 2 f32, WBGAIN of head 0 */
#define CIS_WBView                   201   /* 2 f32, WBGAIN for viewing */
#define CIS_fOffset                  202   /* f32 */
#define CIS_fGain                    203   /* f32 */
#define CIS_fGamma                   204   /* f32 */
#define CIS_fSaturation              205   /* f32 */
#define CIS_fHue                     206   /* f32 */
#define CIS_FlipH                    207   /* u32 */
#define CIS_FlipV                    208   /* u32 */
#define CIS_FilterCode               209   /* u32 */
#define CIS_UserFilter               210   /* 112 bytes, XeUserFilter */
#define CIS_Algo                     211   /* u32, demosaic algorithm id */
#define CIS_fPedestalR               212   /* f32 */
#define CIS_fPedestalG               213   /* f32 */
#define CIS_fPedestalB               214   /* f32 */
#define CIS_EnableResample           215   /* u32 */
#define CIS_ResampleWidth            216   /* u32 */
#define CIS_ResampleHeight           217   /* u32 */
#define CIS_EnableCrop               218   /* u32 */
#define CIS_CropRect                 219   /* 4 i32, XeRect */
#define CIS_fGain16_8                221   /* f32 */
#define CIS_DemosaicCallback         222   /* pointer: the demosaic callback, passed as the value itself */
#define CIS_fGammaR                  223   /* f32 */
#define CIS_fGammaB                  224   /* f32 */
#define CIS_fFlare                   225   /* f32 */
#define CIS_fChroma                  226   /* f32 */
#define CIS_ToneCurve                227   /* ToneCurveInfo */
#define CIS_EnableMatrices           228   /* u32 */
#define CIS_UserMatrix               229   /* UserMatrixInfo */
#define CIS_SupportsMetaWB           230   /* u32 */

/* Use-case switch: vertical flip of the view. Its meaning follows the use case
 * of the cine, as for 211, 600 to 602 and 1100. */
#define CIS_VFlipView                300   /* u32 */

/* Buffer sizes, profile arrays and timecode. */
#define CIS_MaxImageSizeColor        400   /* u32, bound of one processed image */
#define CIS_FRPImgNr                 450   /* 16 i32 */
#define CIS_FRPRate                  451   /* 16 u32 */
#define CIS_FRPShape                 452   /* 16 u32 */
#define CIS_TC                       470   /* 8 bytes, TC, packed timecode of image 0 */
#define CIS_TCU                      471   /* 44 bytes, TCU, unpacked timecode of image 0 */
#define CIS_TCBaseRate               472   /* f32 */
#define CIS_TCRate                   473   /* f32 */

/* Save options. */
#define CIS_SaveRange                500   /* 2 u32, first image, count */
#define CIS_FileName                 501   /* text, file name */
#define CIS_FileType                 502   /* i16 as i32 */
#define CIS_Save16Bit                503   /* u32 */
#define CIS_SavePacked               504   /* u32 */
#define CIS_XmlHeader                505   /* u32 */
#define CIS_StampTime                506   /* u32 */
#define CIS_AviFrameRate             520   /* u32 */
#define CIS_VideoCompressorNames     521   /* 20 rows of 256 bytes, names of the video compressors */
#define CIS_VideoCompressor          522   /* u32 */
#define CIS_DpxLittleEndian          530   /* u32 */
#define CIS_DpxTo10Bit               531   /* u32 */
#define CIS_DpxPacking               532   /* u32 */
#define CIS_DpxLog                   533   /* u32 */
#define CIS_DpxWriteLut              534   /* u32 */
#define CIS_DpxRefWhite              535   /* u16 as u32 */
#define CIS_DpxRefBlack              536   /* u16 as u32 */
#define CIS_DpxGamma                 537   /* f32 */
#define CIS_DpxFilmGamma             538   /* f32 */
#define CIS_MovieTimeScale           550   /* u32 */
#define CIS_Quality                  560   /* u32, quality, 1 to 100 */

/* Use-case switches of calibration and pixel repair. */
#define CIS_NoCalibration            600   /* u32 */
#define CIS_RawImage                 601   /* u32 */
#define CIS_RepairPixels             602   /* u32 */

/* Internal access: each writes into the value the address of a record inside
 * the cine. The caller may read and write through it; the library does not
 * learn of it. */
#define CIS_PtrHeader               1000   /* pointer: CineFileHeader of the cine */
#define CIS_PtrSetup                1001   /* pointer: Setup of the cine */
#define CIS_PtrBmih                 1002   /* pointer: BitmapInfoHeader of the images */
#define CIS_PtrCine                 1003   /* pointer: the cine record itself */
#define CIS_PtrCN                   1004   /* pointer: camera number (CN) */
#define CIS_PtrSaveFirst            1005   /* pointer: SaveFirst */
#define CIS_PtrImageRangeFirst      1006   /* pointer: ImageRangeFirst */
#define CIS_PtrCineNr               1007   /* pointer: CineNr */
#define CIS_PtrViewWord584          1008   /* pointer: view-state word, FirstImageNo when opened */
#define CIS_PtrViewWord580          1009   /* pointer: view-state word, 0x80000000 when opened */
#define CIS_PtrDescription          1010   /* pointer: Setup Description */
#define CIS_PtrOpenedFileName       1011   /* pointer: name of the opened file */
#define CIS_PtrTimeFormat           1012   /* pointer: TimeFormat */
#define CIS_PtrViewWord596          1013   /* pointer: view-state word; non-zero hides a save control */
#define CIS_PtrSaveAlgo             1014   /* pointer: SaveAlgo */
#define CIS_PtrViewWord592          1015   /* pointer: view-state word */
#define CIS_PtrCineKind             1016   /* pointer: CineKind */
#define CIS_PtrOpenedBmih           1017   /* pointer: BitmapInfoHeader as opened */
#define CIS_PtrPackInfo             1018   /* pointer: PackInfo of the pack and unpack companions */
#define CIS_PtrSaveJobNo            1019   /* pointer: save job number */
#define CIS_PtrParamsChanged        1020   /* pointer: ParamsChanged */
#define CIS_PtrViewWord564          1021   /* pointer: view-state word */
#define CIS_PtrViewWord568          1022   /* pointer: view-state word */

/* Internal values. */
#define CIS_ProcessedHeader         1023   /* 48-byte ImageHeader, header after the active processing steps */
#define CIS_MaxImageSize            1024   /* u32, bound of one image for any step */
#define CIS_DngOption2324           1030   /* u16 as u32, DNG option */
#define CIS_DngOption2332           1031   /* u32, DNG option */
#define CIS_SaveAlgo                1032   /* u32, demosaic algorithm id of saves */

/* Use-case switch and setup flush. */
#define CIS_SeparateChannels        1100   /* u32 */
#define CIS_FlushSetupToFile        1101   /* any, value not read; set only */

#endif /* XEFILE_SELECTORS_H */
