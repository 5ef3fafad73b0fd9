/*
 * The side door of the embedded middleware: what the contract in bindings/durix does not carry. Nothing that drives a
 * broadcast middleware needs it; programs of this platform look its names up in the loaded libdurix (dlsym) and do
 * without it when another middleware is in its place.
 *
 * Every call may be made from any thread and at any time. Texts are UTF-8 and end with a NUL. Handlers are called
 * before the call returns, on the caller's thread, unless it says otherwise; what they get is valid until they return.
 */
#ifndef MIDDLEWARE_DURIX_TOOLS_H
#define MIDDLEWARE_DURIX_TOOLS_H

#include <stdint.h>

#include "durix/durix.h"

#ifdef __cplusplus
extern "C" {
#endif
/* NOLINTBEGIN(modernize-use-using): C */

/* Grows when something below changes its meaning; what is added needs no new number. */
enum { DURIX_TOOLS_VERSION = 1 };
uint32_t durix_tools_version(void);

/* ---- Clock: the one that ostiv_time_get_system_time shows ---- */

/* It shows this moment (seconds since the epoch) now and runs on from there, until the next durix_init. */
void durix_tools_clock_set(int64_t seconds);

/* Another clock altogether; null for the own one again. The old one is not called any more on return. */
typedef int64_t (*durix_tools_clock)(void* user);
void durix_tools_clock_replace(durix_tools_clock clock, void* user);

/* ---- Memory of ostiv_mem_calloc ---- */

uint64_t durix_tools_memory_live(void);   /* blocks that nobody has freed yet */
uint64_t durix_tools_memory_mixups(void); /* blocks given to ostiv_mem_free that are not its own, or freed before */

/* ---- Start ---- */

/*
 * Why the last durix_init failed, one line without its end; "" when it did not. Cut to size bytes with the NUL; the
 * length of the whole text comes back.
 */
uint32_t durix_tools_start_failure(char* text, uint32_t size);

/* ---- Log ---- */

/*
 * Lines of the middleware's log go to the handler, on any thread, one at a time; null for the file "tv.log" in the data
 * directory again. The old handler is not called any more on return.
 */
typedef void (*durix_tools_log_handler)(const char* line, void* user);
void durix_tools_log_replace(durix_tools_log_handler handler, void* user);

/* ---- Scan ---- */

enum {
  DURIX_TOOLS_NO_SIGNAL = 0,  /* nothing is sent on the frequency */
  DURIX_TOOLS_NO_TABLES = 1,  /* a signal that describes no services */
  DURIX_TOOLS_SERVICES = 2,   /* received; `services` may still be 0 */
  DURIX_TOOLS_UNREADABLE = 3, /* a signal that could not be read */
  DURIX_TOOLS_CANCELLED = 4   /* not looked at (yet), or not to the end */
};

typedef struct durix_tools_frequency {
  durix_scan_frequency tuning; /* as it was asked for */
  uint32_t result;
  uint32_t services; /* television and radio with a name, hidden ones of the broadcaster left out */
  const char* text;  /* what else is to say, one line; "" for nothing */
} durix_tools_frequency;
typedef void (*durix_tools_frequency_handler)(const durix_tools_frequency* frequency, void* user);

/*
 * What became of each frequency of the scan that runs or ran last in this instance, in the order of its list. Fails
 * when no instance runs. When what the scan found could not be stored, that comes as a last entry of frequency 0 with
 * the result unreadable.
 */
durix_return_code durix_tools_scan_report(durix_tools_frequency_handler handler, void* user);

/* ---- Channels ---- */

/*
 * How many television and radio services of the active provider the hide properties leave out: protected ones, and
 * radio ones that are not protected. Fails when no instance runs or no provider is active.
 */
durix_return_code durix_tools_hidden_services(uint32_t* protected_services, uint32_t* radio_services);

/* How many feeds of a type a service has; 0 also when there is no such service or no instance runs. */
uint32_t durix_tools_feeds(uint32_t service, uint32_t type);

/* ---- Guide ---- */

typedef struct durix_tools_guide_state {
  uint32_t open;        /* multiplexes with an open guide feed; without any nothing is collected */
  uint32_t multiplexes; /* to be received: those, then all others of the receiver */
  uint32_t received;    /* of them: to the end, or there was nothing */
  uint8_t gone_round;   /* 1: every change was told of, and nothing is left to be received, or no receiver for it */
  uint32_t unread;      /* services of the active provider that have changed since their programmes were last listed */
  uint64_t events;      /* that were told in this run, each time that they were told anew */
  uint64_t dropped;     /* of all told: without a known service, a sensible moment or a text */
} durix_tools_guide_state;

/* How far the collecting of the guide is. Fails when no instance runs. */
durix_return_code durix_tools_guide(durix_tools_guide_state* state);

/*
 * Whether a programme is in the guide now: 1, or 0 for one that has gone, moved or changed since its record was handed
 * out, and when no instance runs. For holders who keep programmes longer than the middleware does.
 */
uint8_t durix_tools_guide_has(uint32_t service, uint32_t event);

/* ---- Players: named by the `user` of durix_player_create; these are exported by libdurix_player ---- */

typedef struct durix_tools_track {
  uint32_t type;        /* DURIX_FEED_VIDEO, DURIX_FEED_AUDIO or DURIX_FEED_SUBTITLES */
  uint32_t pid;         /* in the multiplex */
  const char* codec;    /* "h264", "ac3", "teletext", ...; "" when it is none of the known ones */
  const char* language; /* ISO 639; "" without */
} durix_tools_track;

typedef struct durix_tools_player_state {
  uint8_t started;                 /* 1 from the event of its start on */
  const char* failure;             /* why it failed, one line; "" when it did not */
  uint32_t width, height;          /* of the pictures as broadcast; 0 as long as none was decoded */
  uint64_t dropped;                /* bytes that were received and not played, as after a long pause */
  const durix_tools_track* tracks; /* what plays, one of each type at the most */
  uint32_t track_count;
} durix_tools_player_state;
typedef void (*durix_tools_player_handler)(const durix_tools_player_state* state, void* user);

/* How a player of video is doing, or how its last run ended. Fails when there is no such player, as the next two. */
durix_return_code durix_tools_player(const void* player, durix_tools_player_handler handler, void* user);

/* What is shown now, with subtitles, in square pixels: rows of width times RGBA. Fails also when nothing is shown. */
typedef struct durix_tools_picture {
  uint32_t width, height;
  const uint8_t* rgba;
} durix_tools_picture;
typedef void (*durix_tools_picture_handler)(const durix_tools_picture* picture, void* user);
durix_return_code durix_tools_player_picture(const void* player, durix_tools_picture_handler handler, void* user);

/*
 * The stream as it is played goes into this file too, a transport stream of one programme, until the call is made with
 * null, which fails when the file could not be written to its end.
 */
durix_return_code durix_tools_player_save(const void* player, const char* file);

/* ---- Recordings ---- */

typedef struct durix_tools_recording {
  const char* file;
  uint64_t bytes;   /* that are there */
  uint32_t seconds; /* that they last, by the stream's own clock */
  uint64_t errors;  /* how often packets were damaged or lost on their way */
  uint8_t growing;  /* 1: it is being written */
  uint8_t present;  /* 0: its file is not there, whose directory may be away for a while */
} durix_tools_recording;
typedef void (*durix_tools_recording_handler)(const durix_tools_recording* recording, void* user);

/* What there is of a recording, or of the time shift of a timer. Fails when there is no such, or no instance runs. */
durix_return_code durix_tools_recording_look(uint32_t id, durix_tools_recording_handler handler, void* user);

/*
 * The timers that stand in the way of recording a service from start to end (seconds since the epoch), one timer not
 * looked at, and how many receivers there are. Their identifiers are cut to size; *count is of all.
 */
durix_return_code durix_tools_conflicts(uint32_t service, int64_t start, int64_t end, uint32_t except_timer,
                                        uint32_t* receivers, uint32_t* timers, uint32_t size, uint32_t* count);

/* ---- Receivers ---- */

typedef struct durix_tools_receiver {
  const char* type;    /* "DVB-T", ... */
  const char* source;  /* "file:DIR" */
  const char* options; /* "time=stream,tuners=1" */
  uint32_t tuners;
  uint8_t in_use;  /* 1: of the running instance; 0: selected for times when none is given */
  uint8_t present; /* in use: there now */
} durix_tools_receiver;
typedef void (*durix_tools_receiver_handler)(const durix_tools_receiver* receiver, void* user);

/* The sources in use, then the selection that is stored, if there is one. Fails when no instance runs. */
durix_return_code durix_tools_receivers(durix_tools_receiver_handler handler, void* user);

/* What a receiver is used for; a greater one may take it from a smaller one. */
enum { DURIX_TOOLS_USE_GUIDE = 0, DURIX_TOOLS_USE_LIVE = 1, DURIX_TOOLS_USE_SCAN = 2, DURIX_TOOLS_USE_RECORDING = 3 };

typedef struct durix_tools_use {
  uint32_t use;       /* the most important one of all who share it */
  uint32_t users;     /* how many these are */
  uint32_t multiplex; /* attribute 41 of the first feed of what it receives; 0: of nothing, for a scan or a guide */
  int32_t frequency;  /* of the multiplex */
} durix_tools_use;
typedef void (*durix_tools_use_handler)(const durix_tools_use* use, void* user);

/* Each receiver that is not free; *receivers is how many there are. Fails when no instance runs. */
durix_return_code durix_tools_uses(uint32_t* receivers, durix_tools_use_handler handler, void* user);

/* What a record of durix_device_get is, for people: "DVB-T receiver 1". Cut as above. */
uint32_t durix_tools_device_text(const durix_device* device, char* text, uint32_t size);

/* NOLINTEND(modernize-use-using) */
#ifdef __cplusplus
}
#endif
#endif
