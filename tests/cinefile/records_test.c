/* The public records and selector numbers used from plain C.
 *
 * Compiled as C11 with -Wall -Wextra -pedantic; the layout checks in the
 * records header run at compile time, so building this file is most of the
 * test. Each header is included twice to prove its include guard. */
#include <string.h>

#include <xefile/xefile_records.h>
#include <xefile/xefile_records.h>
#include <xefile/xefile_selectors.h>
#include <xefile/xefile_selectors.h>

/* Every selector as a case label: two selectors with one number would not
 * compile. */
static int is_selector(unsigned selector)
{
    switch (selector) {
    case CIS_CFA: case CIS_FrameRate: case CIS_Shutter: case CIS_AutoExposure: case CIS_RealBPP:
    case CIS_Serial: case CIS_HeadSerial0: case CIS_HeadSerial1: case CIS_HeadSerial2:
    case CIS_HeadSerial3: case CIS_TriggerSeconds: case CIS_TriggerFractions: case CIS_IsFileCine:
    case CIS_Is16Bit: case CIS_IsColor: case CIS_IsMultiHead: case CIS_ShutterNs:
    case CIS_EDRShutterNs: case CIS_FrameDelayNs: case CIS_SourceFileType: case CIS_Compression:
    case CIS_CameraVersion: case CIS_Rotate: case CIS_ImWidth: case CIS_ImHeight:
    case CIS_ImWidthAcq: case CIS_ImHeightAcq: case CIS_PostTrigger: case CIS_ImageCount:
    case CIS_TotalImageCount: case CIS_TrigFrame: case CIS_AutoExpLevel: case CIS_AutoExpTop:
    case CIS_AutoExpLeft: case CIS_AutoExpBottom: case CIS_AutoExpRight: case CIS_RecordingTimeZone:
    case CIS_FirstImageNo: case CIS_FirstMovieImage: case CIS_CineName: case CIS_TimeFormat:
    case CIS_FRPSteps: case CIS_FRPImgNr0: case CIS_FRPRate0: case CIS_FRPImgNr1: case CIS_FRPRate1:
    case CIS_FRPImgNr2: case CIS_FRPRate2: case CIS_FRPImgNr3: case CIS_FRPRate3:
    case CIS_LastSaveStatus: case CIS_LensDescription: case CIS_LensAperture:
    case CIS_LensFocalLength: case CIS_WBGain: case CIS_WBView: case CIS_fOffset: case CIS_fGain:
    case CIS_fGamma: case CIS_fSaturation: case CIS_fHue: case CIS_FlipH: case CIS_FlipV:
    case CIS_FilterCode: case CIS_UserFilter: case CIS_Algo: case CIS_fPedestalR:
    case CIS_fPedestalG: case CIS_fPedestalB: case CIS_EnableResample: case CIS_ResampleWidth:
    case CIS_ResampleHeight: case CIS_EnableCrop: case CIS_CropRect: case CIS_fGain16_8:
    case CIS_DemosaicCallback: case CIS_fGammaR: case CIS_fGammaB: case CIS_fFlare:
    case CIS_fChroma: case CIS_ToneCurve: case CIS_EnableMatrices: case CIS_UserMatrix:
    case CIS_SupportsMetaWB: case CIS_VFlipView: case CIS_MaxImageSizeColor: case CIS_FRPImgNr:
    case CIS_FRPRate: case CIS_FRPShape: case CIS_TC: case CIS_TCU: case CIS_TCBaseRate:
    case CIS_TCRate: case CIS_SaveRange: case CIS_FileName: case CIS_FileType: case CIS_Save16Bit:
    case CIS_SavePacked: case CIS_XmlHeader: case CIS_StampTime: case CIS_AviFrameRate:
    case CIS_VideoCompressorNames: case CIS_VideoCompressor: case CIS_DpxLittleEndian:
    case CIS_DpxTo10Bit: case CIS_DpxPacking: case CIS_DpxLog: case CIS_DpxWriteLut:
    case CIS_DpxRefWhite: case CIS_DpxRefBlack: case CIS_DpxGamma: case CIS_DpxFilmGamma:
    case CIS_MovieTimeScale: case CIS_Quality: case CIS_NoCalibration: case CIS_RawImage:
    case CIS_RepairPixels: case CIS_PtrHeader: case CIS_PtrSetup: case CIS_PtrBmih:
    case CIS_PtrCine: case CIS_PtrCN: case CIS_PtrSaveFirst: case CIS_PtrImageRangeFirst:
    case CIS_PtrCineNr: case CIS_PtrViewWord584: case CIS_PtrViewWord580: case CIS_PtrDescription:
    case CIS_PtrOpenedFileName: case CIS_PtrTimeFormat: case CIS_PtrViewWord596:
    case CIS_PtrSaveAlgo: case CIS_PtrViewWord592: case CIS_PtrCineKind: case CIS_PtrOpenedBmih:
    case CIS_PtrPackInfo: case CIS_PtrSaveJobNo: case CIS_PtrParamsChanged: case CIS_PtrViewWord564:
    case CIS_PtrViewWord568: case CIS_ProcessedHeader: case CIS_MaxImageSize:
    case CIS_DngOption2324: case CIS_DngOption2332: case CIS_SaveAlgo: case CIS_SeparateChannels:
    case CIS_FlushSetupToFile:
        return 1;
    default:
        return 0;
    }
}

int main(void)
{
    /* The magic as it stands in a file: the characters 'C' then 'I'. */
    static const unsigned char file_start[2] = {'C', 'I'};
    /* Length as the bytes of a file hold it, little-endian at 142. */
    static const unsigned char length_bytes[2] = {SETUP_LENGTH & 0xFF, SETUP_LENGTH >> 8};
    static Setup setup;
    CineFileHeader header;

    memset(&header, 0, sizeof header);
    memcpy(&header.Type, file_start, sizeof file_start);
    if (header.Type != CINE_TYPE_CI)
        return 1;

    memcpy((unsigned char *)&setup + 142, length_bytes, sizeof length_bytes);
    if (setup.Length != SETUP_LENGTH)
        return 2;

    /* Gaps inside the families are not selectors. */
    if (!is_selector(CIS_CFA) || is_selector(18) || is_selector(220) || is_selector(1025))
        return 3;
    return 0;
}
