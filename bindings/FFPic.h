/*
 * The picture that a middleware player renders and the host receives (PlayerListener::imageReceived).
 * Everything is valid during the callback only.
 */
#ifndef BINDINGS_FFPIC_H
#define BINDINGS_FFPIC_H

#include <stdint.h>

enum { FFPIC_TELETEXT_LINES = 25 };

typedef struct FFPic {
  uint32_t width;      /* pixels */
  uint32_t height;     /* pixels */
  uint32_t stride;     /* bytes from one line to the next */
  const uint8_t* rgba; /* height lines of width pixels, four bytes each */
  /* Teletext only; page is 0 otherwise. */
  uint32_t page;                           /* 100 to 899 */
  uint32_t subpage;                        /* its four digits; 0 when the page has none */
  const char* lines[FFPIC_TELETEXT_LINES]; /* UTF-8, NUL-terminated */
} FFPic;

#endif
