/* cineinfo: what a user wants to know of a recording, through the public
 * interface only.
 *
 *   cineinfo FILE
 */
/* gmtime_r is POSIX, not C11: asked for before any system header. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <xefile/xefile.h>

static const char *compression_text(uint32_t c) {
  switch (c) {
    case XE_COMPRESSION_GRAY_COLOR: return "processed (gray or colour pixels)";
    case XE_COMPRESSION_JPEG: return "JPEG";
    case XE_COMPRESSION_RAW: return "raw sensor samples";
    case XE_COMPRESSION_MOVIE: return "movie-coded";
    default: return "unknown";
  }
}

static void print_time(const char *label, Time64 t) {
  time_t secs = (time_t)t.seconds;
  struct tm utc;
  char text[64];
  gmtime_r(&secs, &utc);
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
  /* The two lowest bits of the fraction are flags, not time. */
  double frac = (double)(t.fractions & ~3u) / 4294967296.0;
  printf("%-22s %s.%06.0f UTC\n", label, text, frac * 1e6);
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s FILE\n", argv[0]);
    return 2;
  }
  int32_t status = XeStartXeFile();
  if (status < 0) {
    fprintf(stderr, "cineinfo: the library did not start (status %d)\n", status);
    return 1;
  }
  CineHandle cine = NULL;
  status = XeNewCineFromFile(argv[1], &cine);
  if (status < 0 || !cine) {
    fprintf(stderr, "cineinfo: %s: cannot open (status %d)\n", argv[1], status);
    XeStopXeFile();
    return 1;
  }

  const CineFileHeader *h = NULL;
  const Setup *s = NULL;
  XeGetCineInfo(cine, CIS_PtrHeader, &h);
  XeGetCineInfo(cine, CIS_PtrSetup, &s);
  BitmapInfoHeader bmih;
  XeGetCineBMIH(cine, &bmih);

  printf("%-22s %s\n", "file", argv[1]);
  printf("%-22s %u (%s)\n", "compression", h->Compression, compression_text(h->Compression));
  printf("%-22s %d x %d\n", "image size", bmih.biWidth, bmih.biHeight);
  printf("%-22s %u bits per sample, %u bits per pixel delivered\n", "depth", s->RealBPP,
         bmih.biBitCount);
  printf("%-22s %s\n", "colour", XefIsColorCine(cine) ? "colour" : "gray");
  printf("%-22s %u\n", "camera version", s->CameraVersion);
  printf("%-22s %u\n", "camera serial", s->Serial);

  int32_t first = 0, last = 0;
  XeGetCineRange(cine, &first, &last);
  printf("%-22s %d to %d (%u images)\n", "recorded range", first, last, h->TotalImageCount);
  if (h->ImageCount)
    printf("%-22s %d to %d (%u images)\n", "stored range", h->FirstImageNo,
           (int32_t)((int64_t)h->FirstImageNo + h->ImageCount - 1), h->ImageCount);
  else
    printf("%-22s none\n", "stored range");

  Time64 trigger;
  XeGetCineTriggerTime(cine, &trigger);
  print_time("trigger time", trigger);
  printf("%-22s %u images per second\n", "frame rate", s->FrameRate);
  printf("%-22s %.3f us\n", "exposure", s->ShutterNs / 1000.0);
  /* Tag 1003 answers whole microseconds (XefCineImageExposure gives 2^-32 s). */
  uint32_t exposureUs = 0;
  if (h->ImageCount &&
      XeGetCineAuxData(cine, h->FirstImageNo, XE_TAG_EXPOSURE, sizeof exposureUs, &exposureUs) == 0)
    printf("%-22s %u us\n", "first image exposure", exposureUs);
  char text[64];
  if (h->ImageCount && XePrintTime(cine, (uint32_t)h->FirstImageNo, 0xF001, text) == 0 && text[0])
    printf("%-22s %s UTC\n", "first image time", text);
  double fromTrigger = 0.0;
  if (h->ImageCount && XefTimeFromTrigger(cine, h->FirstImageNo, &fromTrigger))
    printf("%-22s %.6f s from the trigger\n", "", fromTrigger);

  static const struct { uint32_t tag; const char *name; } blocks[] = {
      {XE_TAG_TIME, "times"},          {XE_TAG_EXPOSURE, "exposures"},
      {XE_TAG_RANGE_DATA, "range data"}, {XE_TAG_BINSIG, "binary signals"},
      {XE_TAG_ANASIG, "analog signals"}, {XE_TAG_TIMECODE, "timecode"},
  };
  printf("%-22s", "tagged blocks");
  int any = 0;
  for (size_t i = 0; i < sizeof blocks / sizeof blocks[0]; ++i) {
    int present;
    if (blocks[i].tag == XE_TAG_TIME || blocks[i].tag == XE_TAG_EXPOSURE) {
      present = XefGetCineTaggedBlock(cine, blocks[i].tag) != NULL;
    } else {
      /* A one-byte request tells a stored block from an absent one: without
       * the block, timecode is computed but needs 8 bytes. */
      unsigned char byte;
      int32_t r = XeGetCineAuxData(cine, h->FirstImageNo, blocks[i].tag, 1, &byte);
      present = r != XE_ERR_AUX_TAG_ABSENT && r != XE_ERR_AUX_TOO_SMALL;
    }
    if (!present) continue;
    printf("%s %s", any ? "," : "", blocks[i].name);
    any = 1;
  }
  printf("%s\n", any ? "" : " none");

  TC tc;
  if (XeGetCineAuxData(cine, 0, XE_TAG_TIMECODE, sizeof tc, &tc) == 0)
    printf("%-22s %d%d:%d%d:%d%d:%d%d\n", "timecode of image 0", (tc.hours >> 4) & 3, tc.hours & 15,
           (tc.minutes >> 4) & 7, tc.minutes & 15, (tc.seconds >> 4) & 7, tc.seconds & 15,
           (tc.frames >> 4) & 3, tc.frames & 15);

  XeDestroyCine(cine);
  XeStopXeFile();
  return 0;
}
