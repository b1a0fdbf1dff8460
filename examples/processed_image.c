/* processed_image: writes one image of a recording, as the library delivers
 * it for viewing, to a PPM (colour) or PGM (gray) file that any image viewer
 * opens. Images of more than 8 bits per sample are written with 16-bit
 * samples (maxval 65535, most significant byte first).
 *
 *   processed_image FILE IMAGE_NUMBER OUT.ppm|OUT.pgm
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <xefile/xefile.h>

/* The greatest value a sample of this header can take. */
static unsigned sample_top(const ImageHeader *h, unsigned sample_bytes) {
  if (sample_bytes == 1) return 255;
  if (h->WhiteLevel > 0 && h->WhiteLevel <= 65535) return (unsigned)h->WhiteLevel;
  if (h->biClrImportant > 1 && h->biClrImportant <= 65536) return h->biClrImportant - 1;
  return 65535;
}

/* One output sample, scaled from 0..top to 0..maxval. */
static void put_sample(FILE *f, unsigned v, unsigned top, unsigned maxval) {
  if (v > top) v = top;
  unsigned out = top == maxval ? v : (unsigned)(((unsigned long long)v * maxval + top / 2) / top);
  if (maxval > 255) fputc((int)(out >> 8), f);
  fputc((int)(out & 0xFF), f);
}

static int write_image(const char *path, const ImageHeader *h, const uint8_t *pixels,
                       int top_down_in_memory) {
  const unsigned bits = h->biBitCount;
  const unsigned channels = (bits == 24 || bits == 48) ? 3 : 1;
  const unsigned sample_bytes = (bits == 16 || bits == 48) ? 2 : 1;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 48) {
    fprintf(stderr, "processed_image: %u bits per pixel cannot be written\n", bits);
    return 1;
  }
  const unsigned width = (unsigned)abs(h->biWidth);
  const unsigned height = (unsigned)abs(h->biHeight);
  const size_t stride = ((size_t)width * bits + 31) / 32 * 4;
  const unsigned top = sample_top(h, sample_bytes);
  const unsigned maxval = sample_bytes == 2 ? 65535 : 255;

  FILE *f = fopen(path, "wb");
  if (!f) {
    perror(path);
    return 1;
  }
  fprintf(f, "%s\n%u %u\n%u\n", channels == 3 ? "P6" : "P5", width, height, maxval);
  for (unsigned y = 0; y < height; ++y) {
    /* The library stores rows bottom-up unless the view flip turned them. */
    const unsigned row = top_down_in_memory ? y : height - 1 - y;
    const uint8_t *p = pixels + stride * row;
    for (unsigned x = 0; x < width; ++x) {
      unsigned s[3] = {0, 0, 0};
      for (unsigned c = 0; c < channels; ++c) {
        const uint8_t *q = p + ((size_t)x * channels + c) * sample_bytes;
        s[c] = sample_bytes == 2 ? (unsigned)(q[0] | (q[1] << 8)) : q[0];
      }
      if (channels == 3) { /* blue, green, red in memory; red first in the file */
        put_sample(f, s[2], top, maxval);
        put_sample(f, s[1], top, maxval);
        put_sample(f, s[0], top, maxval);
      } else {
        put_sample(f, s[0], top, maxval);
      }
    }
  }
  if (fclose(f) != 0) {
    perror(path);
    return 1;
  }
  printf("%s: %u x %u, %s, %u bits per sample\n", path, width, height,
         channels == 3 ? "colour" : "gray", sample_bytes == 2 ? 16 : 8);
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: %s FILE IMAGE_NUMBER OUT.ppm|OUT.pgm\n", argv[0]);
    return 2;
  }
  char *end = NULL;
  long number = strtol(argv[2], &end, 10);
  if (!*argv[2] || *end || number < INT32_MIN || number > INT32_MAX) {
    fprintf(stderr, "processed_image: %s is not an image number\n", argv[2]);
    return 2;
  }
  if (XeStartXeFile() < 0) {
    fprintf(stderr, "processed_image: the library did not start\n");
    return 1;
  }
  int rc = 1;
  CineHandle cine = NULL;
  int32_t status = XeNewCineFromFile(argv[1], &cine);
  if (status < 0 || !cine) {
    fprintf(stderr, "processed_image: %s: cannot open (status %d)\n", argv[1], status);
    XeStopXeFile();
    return 1;
  }
  const CineFileHeader *fh = NULL;
  XeGetCineInfo(cine, CIS_PtrHeader, &fh);
  if (fh && (number < fh->FirstImageNo ||
             number - fh->FirstImageNo >= (long long)fh->ImageCount)) {
    fprintf(stderr, "processed_image: the recording holds images %d to %lld\n", fh->FirstImageNo,
            (long long)fh->FirstImageNo + fh->ImageCount - 1);
    goto done;
  }
  /* A buffer of the bound the library gives for one processed image. */
  uint32_t size = 0;
  XeGetCineInfo(cine, CIS_MaxImageSizeColor, &size);
  uint8_t *pixels = size ? malloc(size) : NULL;
  if (!pixels) {
    fprintf(stderr, "processed_image: no memory for %u bytes\n", size);
    goto done;
  }
  ImageHeader h;
  ImageRange range = {(int32_t)number, 1};
  status = XeGetCineImage(cine, &range, pixels, size, &h);
  if (status < 0) {
    fprintf(stderr, "processed_image: image %ld: status %d\n", number, status);
  } else {
    uint32_t flipped = 0;
    XeGetCineInfo(cine, CIS_VFlipView, &flipped);
    rc = write_image(argv[3], &h, pixels, flipped != 0);
  }
  free(pixels);
done:
  XeDestroyCine(cine);
  XeStopXeFile();
  return rc;
}
