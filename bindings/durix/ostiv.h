/*
 * The middleware's portability layer: memory, files, time and text.
 * Every call may be made from any thread, before durix_init and after durix_deinit. Calls that return a
 * durix_return_code give 0 on success and any other value on failure.
 */
#ifndef DURIX_OSTIV_H
#define DURIX_OSTIV_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Memory. ostiv_mem_free releases what ostiv_mem_calloc or any durix_* call handed out; null is allowed. */
void* ostiv_mem_calloc(size_t count, size_t size); /* zero-filled; null when there is no memory */
void ostiv_mem_free(void* memory);

/* Files. Relative names resolve into the data directory given to durix_init. */
typedef struct ostiv_file {
  void* stream;  /* the layer's own */
  uint32_t size; /* bytes in the file when it was opened for reading, 0 for writing */
} ostiv_file;

enum { OSTIV_PATH_MAX = 256 };

/* Entry types of a directory. */
enum { OSTIV_ENTRY_OTHER = 0, OSTIV_ENTRY_DIRECTORY = 1, OSTIV_ENTRY_FILE = 2 };

typedef struct ostiv_directory_entry {
  uint32_t type;
  char name[OSTIV_PATH_MAX]; /* NUL-terminated */
} ostiv_directory_entry;

/* mode "r" reads, "w" writes a new file that takes the old one's place at close. */
uint32_t ostiv_file_open(ostiv_file* file, const char* path, const char* mode);
uint32_t ostiv_file_read(ostiv_file* file, void* buffer, uint32_t size, uint32_t* bytes_read); /* 0 bytes at the end */
uint32_t ostiv_file_write(ostiv_file* file, const void* data, uint32_t length);
uint32_t ostiv_file_close(ostiv_file* file);

/*
 * Gives the next entry of a directory. *iterator is null at the first call and the layer's own afterwards; the call
 * that returns non-zero (no more entries, or a failure) frees it, so read to the end. "." and ".." are not given.
 */
uint32_t ostiv_file_directory_read(const char* directory, void** iterator, ostiv_directory_entry* entry);

/* Both write a NUL-terminated text of at most size bytes; text that does not fit is a failure. */
uint32_t ostiv_file_path_join(char* out, uint32_t size, const char* directory, const char* name);
uint32_t ostiv_file_legalize_filename(char* out, uint32_t size, const char* path, uint32_t flag);

/* Time. */
typedef struct ostiv_tm {
  int32_t second;      /* 0 to 60 */
  int32_t minute;      /* 0 to 59 */
  int32_t hour;        /* 0 to 23 */
  int32_t day;         /* of the month, 1 to 31 */
  int32_t month;       /* 0 = January */
  int32_t year;        /* since 1900 */
  int32_t weekday;     /* 0 = Sunday */
  int32_t day_of_year; /* 0 = 1 January */
  int32_t daylight;    /* above 0 when daylight-saving time is in force, -1 when not known */
} ostiv_tm;

uint32_t ostiv_time_get_system_time(int64_t* seconds); /* since the epoch: the one clock of the platform */
void ostiv_time_sleep(uint32_t duration); /* the unit is the platform's; milliseconds in the embedded one */
uint32_t ostiv_localtime_s(int64_t seconds, ostiv_tm* local);
int64_t ostiv_mktime(ostiv_tm* local); /* seconds since the epoch; normalises its argument; -1 on failure */

/* Lower case of UTF-8 text; released with ostiv_mem_free; null on failure. */
char* ostiv_utf8_to_lower(const char* text);

/* One line of the layer's debug log. */
void ostiv_log_debug(const char* text);

#ifdef __cplusplus
}
#endif
#endif
