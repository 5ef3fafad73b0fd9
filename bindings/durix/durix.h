/*
 * libdurix: instance, events, properties, providers, services, scans, guide objects and devices of the broadcast
 * middleware.
 *
 * Every call returns a durix_return_code, 0 for success, unless it says otherwise. What a call hands out (texts,
 * arrays) is released with ostiv_mem_free, but for the array of durix_services_get, which is released with the system's
 * free. Out values are written on success only. Null handles and unknown, stale or late objects are answered with an
 * error.
 */
#ifndef DURIX_DURIX_H
#define DURIX_DURIX_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "ostiv.h"

#ifdef __cplusplus
#define DURIX_STATIC_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#define DURIX_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif
/* Records that hold pointers have their stated size where a pointer has 32 bits. */
#if UINTPTR_MAX == 0xffffffffu
#define DURIX_ASSERT_SIZE_32(type, size) DURIX_STATIC_ASSERT(sizeof(type) == (size), #type " has another size")
#else
#define DURIX_ASSERT_SIZE_32(type, size) DURIX_STATIC_ASSERT(sizeof(type) >= (size), #type " has another size")
#endif

/* ---- Return codes ---- */

typedef uint32_t durix_return_code;
enum {
  DURIX_OK = 0,
  DURIX_NO_PROGRAMS = 5,             /* durix_program_events_get: the service has none */
  DURIX_INSUFFICIENT_DISK_SPACE = 8, /* recorder calls */
  DURIX_CONFLICTING_TIMER = 9,
  DURIX_INVALID_TIME = 10
};

/* ---- Handles and value records ---- */

typedef struct durix_handle durix_handle; /* one instance of the middleware */

/* A service, a programme event, a feed, a recording or a timer; copied freely by value. */
typedef struct durix_esg_object {
  uint32_t kind;   /* DURIX_OBJECT_TIMER marks a timer; 0 in a feed marks an empty record */
  uint32_t id;     /* the object's identifier */
  uint32_t opaque; /* passed back untouched */
} durix_esg_object;
DURIX_STATIC_ASSERT(sizeof(durix_esg_object) == 12, "durix_esg_object has another size");

enum { DURIX_OBJECT_TIMER = 8 };

/* Numbered as the host's BroadcastProtocolType (0 to 12) and ReceiverType (0 to 5). */
typedef uint32_t durix_provider_protocol;
typedef uint32_t durix_device_receiver_type;

/* The tuned network of one protocol on one kind of receiver; copied by value. */
typedef struct durix_provider {
  durix_provider_protocol protocol;
  durix_device_receiver_type receiver_type;
  uint32_t identity; /* equal identities mean the same provider */
  const char* name;  /* stays valid until durix_deinit */
  uint32_t reserved[2];
} durix_provider;
DURIX_ASSERT_SIZE_32(durix_provider, 24);

/* One frequency of a scan; -1 (0 for frequency and bandwidth) when not known. */
typedef struct durix_scan_frequency {
  int32_t frequency;        /* Hz; kHz for DVB-S */
  int32_t bandwidth;        /* Hz */
  int32_t symbol_rate;      /* symbols a second */
  int32_t modulation;       /* the numbers of the locations files */
  int32_t orbital_position; /* tenths of a degree */
  int32_t fec;
  int32_t polarisation; /* 1 H, 2 V, 3 L, 4 R */
} durix_scan_frequency;
DURIX_STATIC_ASSERT(sizeof(durix_scan_frequency) == 28, "durix_scan_frequency has another size");

/* Record and array come from ostiv_mem_calloc; the middleware copies what it needs during the call. */
typedef struct durix_scan_configuration {
  uint32_t count;
  durix_scan_frequency* frequencies;
} durix_scan_configuration;
DURIX_ASSERT_SIZE_32(durix_scan_configuration, 8);

/* One receiver as durix_device_get lists it; its address is the device handle of durix_device_execute_request. */
typedef struct durix_device {
  uint32_t words[18]; /* the middleware's own */
} durix_device;
DURIX_STATIC_ASSERT(sizeof(durix_device) == 72, "durix_device has another size");

/* Data of durix_device_execute_request. Texts are NUL-padded; one that fills its field has no NUL. */
typedef struct durix_request_address {
  char address[48];
  uint16_t port;
} durix_request_address;
DURIX_STATIC_ASSERT(sizeof(durix_request_address) == 50, "durix_request_address has another size");

typedef struct durix_request_select {
  durix_device_receiver_type receiver_type;
  char first[256];
  char second[256];
} durix_request_select;
DURIX_STATIC_ASSERT(sizeof(durix_request_select) == 516, "durix_request_select has another size");

enum {
  DURIX_REQUEST_SET_ADDRESS = 1,    /* durix_request_address */
  DURIX_REQUEST_LIST_SELECTED = 11, /* no data, as the next */
  DURIX_REQUEST_LIST_AVAILABLE = 12,
  DURIX_REQUEST_SELECT = 13, /* durix_request_select */
  DURIX_REQUEST_RESET = 14   /* no data */
};

/* ---- Events ---- */

/*
 * The record of an event is a run of bytes: the 32-bit event number, then fields at the offsets below. On every
 * platform fields stand at exactly these offsets; a pointer has the platform's width and may be unaligned.
 *
 * Handlers are called one at a time, on a thread of the middleware's own and with none of its locks held. An event
 * comes after the call that caused it has returned, and no call waits for a handler, but for durix_callback_remove and
 * durix_deinit.
 */
typedef struct durix_event_data durix_event_data;
typedef void (*durix_event_handler)(durix_event_data* event, void* user);

typedef struct durix_callback_entry {
  uint32_t event;
  durix_event_handler handler;
} durix_callback_entry;
DURIX_ASSERT_SIZE_32(durix_callback_entry, 8);

typedef struct durix_client {
  uint32_t version;
  const char* text;
} durix_client;
DURIX_ASSERT_SIZE_32(durix_client, 8);

enum {
  DURIX_EVENT_RECEIVER_ON = 1,
  DURIX_EVENT_RECEIVER_OFF = 2,
  DURIX_EVENT_RECEIVER_STATISTICS = 3,
  DURIX_EVENT_RECEIVER_LOCK = 4,
  DURIX_EVENT_RECEIVER_LOCK_LOST = 5,
  DURIX_EVENT_DISCOVER_PROGRESS = 6,
  DURIX_EVENT_DISCOVER_FINISHED = 7,
  DURIX_EVENT_SERVICES_CHANGED = 9,
  DURIX_EVENT_PROVIDERS_CHANGED = 10,
  DURIX_EVENT_SERVICE_SELECTED = 11,
  DURIX_EVENT_STREAM_TIME_AVAILABLE = 12,
  DURIX_EVENT_CURRENT_PROGRAM = 13,
  DURIX_EVENT_INTERACTIVITY_RECEIVED = 14,
  DURIX_EVENT_INTERACTIVITY_EXPIRED = 15,
  DURIX_EVENT_FEEDS_CHANGED = 24,
  DURIX_EVENT_TIMER_ACTIVATING = 26,
  DURIX_EVENT_TIMER_ACTIVE = 27,
  DURIX_EVENT_TIMER_DEACTIVE = 28,
  DURIX_EVENT_RECORDER_DEVICE_FULL = 29,
  DURIX_EVENT_PROGRAM_EVENTS_CHANGED = 32,
  DURIX_PLAYER_EVENT_STARTED = 38,
  DURIX_PLAYER_EVENT_CLOSED = 39,
  DURIX_PLAYER_EVENT_FAILED = 40,
  DURIX_PLAYER_EVENT_END_OF_MEDIA = 41
};

/* Offsets in bytes from the start of the record; widths are 32 bits where nothing is said. */
enum {
  DURIX_OFFSET_EVENT = 0,

  DURIX_OFFSET_RECEIVER_ON_PROTOCOL = 260,
  DURIX_OFFSET_RECEIVER_ON_TYPE = 264,

  DURIX_OFFSET_STATISTICS_FREQUENCY = 264,
  DURIX_OFFSET_STATISTICS_BANDWIDTH = 268,
  DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE = 272,
  DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED = 276,
  DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY = 280,  /* 8 bits */
  DURIX_OFFSET_STATISTICS_SIGNAL_STRENGTH = 281, /* 8 bits */
  DURIX_OFFSET_STATISTICS_SNR = 282,             /* four texts of 256 bytes */
  DURIX_OFFSET_STATISTICS_BER = 538,
  DURIX_OFFSET_STATISTICS_PER = 794,
  DURIX_OFFSET_STATISTICS_MFER = 1050,
  DURIX_OFFSET_STATISTICS_BATTERY_LEVEL = 1306, /* 8 bits; 0 = not reported */
  DURIX_STATISTICS_TEXT_SIZE = 256,

  DURIX_OFFSET_DISCOVER_PROGRESS = 4,
  DURIX_OFFSET_DISCOVER_FREQUENCY = 8,
  DURIX_OFFSET_DISCOVER_VALID = 12,
  DURIX_OFFSET_DISCOVER_SERVICE_COUNT = 16,
  DURIX_OFFSET_DISCOVER_SERVICE_NAMES = 20, /* service_count texts of 32 bytes */
  DURIX_DISCOVER_NAME_SIZE = 32,

  DURIX_OFFSET_PLAYER_HANDLE = 8,              /* pointer: started, closed, failed */
  DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE = 4, /* pointer */

  DURIX_OFFSET_FEEDS_CHANGED_STATE = 8, /* 1: the feeds of a service changed */
  DURIX_OFFSET_FEEDS_CHANGED_SERVICE = 12,

  DURIX_OFFSET_TIMER_ID = 4,
  DURIX_OFFSET_TIMER_ACTIVATING_VALUE = 8,
  DURIX_OFFSET_TIMER_ACTIVATING_COUNT = 12,
  DURIX_OFFSET_TIMER_ACTIVATING_IDS = 16 /* pointer to that many 32-bit timer identifiers */
};

/* ---- Attributes and properties ---- */

typedef uint32_t durix_attribute;
enum {
  DURIX_ATTRIBUTE_END_TIME = 1,             /* int, seconds since the epoch: programme, recording, timer */
  DURIX_ATTRIBUTE_START_TIME = 2,           /* int, seconds since the epoch */
  DURIX_ATTRIBUTE_END_TIME_STR = 3,         /* text YYYY-MM-DDTHH:MM:SS, UTC */
  DURIX_ATTRIBUTE_START_TIME_STR = 4,       /* text */
  DURIX_ATTRIBUTE_LOGO_URI = 9,             /* text: service */
  DURIX_ATTRIBUTE_LANGUAGE = 10,            /* text: feed */
  DURIX_ATTRIBUTE_DESCRIPTION = 16,         /* text: programme, recording, timer */
  DURIX_ATTRIBUTE_GENRE = 17,               /* text: programme */
  DURIX_ATTRIBUTE_SERVICE_ID = 18,          /* text: service; of recording and timer the service's name */
  DURIX_ATTRIBUTE_PROTECTED = 21,           /* bool: service */
  DURIX_ATTRIBUTE_NAME = 22,                /* text: service, programme, recording, timer */
  DURIX_ATTRIBUTE_PARENTAL_RATING = 23,     /* decimal text: service, programme, recording */
  DURIX_ATTRIBUTE_STREAM_TYPES = 25,        /* int array: service; 1 television, 2 radio */
  DURIX_ATTRIBUTE_FEED_TYPE = 26,           /* int: feed */
  DURIX_ATTRIBUTE_AUDIO_LANGUAGE = 30,      /* text: feed */
  DURIX_ATTRIBUTE_URI = 35,                 /* text: feed */
  DURIX_ATTRIBUTE_SOURCE_ID = 36,           /* int: service; services of one source can be received together */
  DURIX_ATTRIBUTE_CHANNEL_NUMBER = 41,      /* int: service; of an ESG data feed the number that tells feeds apart */
  DURIX_ATTRIBUTE_QUALITY = 43,             /* int: service; higher is better */
  DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID = 48, /* int: service, recording, timer */
  DURIX_ATTRIBUTE_FEED_CONTENT_TYPE = 49    /* int: feed */
};

/* Feed types (attribute 26) and feed content types (attribute 49). */
enum {
  DURIX_FEED_AUDIO = 1,
  DURIX_FEED_VIDEO = 2,
  DURIX_FEED_SUBTITLES = 3,
  DURIX_FEED_VIDEO_SECOND = 6,
  DURIX_FEED_AUDIO_SECOND = 7,
  DURIX_FEED_SUBTITLES_SECOND = 8, /* the kind carried by recordings */
  DURIX_FEED_TELETEXT = 11,
  DURIX_FEED_SUBTITLES_THIRD = 12,
  DURIX_FEED_SUBTITLES_FOURTH = 13
};
enum { DURIX_FEED_CONTENT_ANY = 0, DURIX_FEED_CONTENT_AC3 = 8 };

typedef uint32_t durix_property;
enum {
  DURIX_PROPERTY_ESG_LANGUAGE = 1,
  DURIX_PROPERTY_AUDIO_LANGUAGE = 2,
  DURIX_PROPERTY_RECORD_ALL_AUDIO_CHANNELS = 10,
  DURIX_PROPERTY_RECORDINGS_DIRECTORY = 11,
  DURIX_PROPERTY_HIDE_PROTECTED = 14,
  DURIX_PROPERTY_HIDE_RADIO = 15,
  DURIX_PROPERTY_ESG_UPDATE = 16,      /* "true" or "false" */
  DURIX_PROPERTY_PROTOCOL_TYPE = 17,   /* read */
  DURIX_PROPERTY_CONNECTION_TYPE = 19, /* read */
  DURIX_PROPERTY_RECEIVER_ADDRESS = 20
};

/* ---- Instance, events, properties ---- */

/*
 * Starts an instance. Handlers of the table are registered from here on; no event is delivered before
 * durix_allow_updates. *handle stays as it is on failure.
 */
durix_return_code durix_init(durix_handle** handle, uint32_t reserved, const char* data_directory,
                             const char* library_directory, const durix_callback_entry* callbacks,
                             uint32_t callback_count, const durix_client* client);
durix_return_code durix_deinit(durix_handle* handle);
durix_return_code durix_allow_updates(durix_handle* handle);

/*
 * One registration for each (event, handler, user), valid for all instances when the handle is null. Removal drops
 * every registration of (event, handler) made with that handle and returns when none of them runs any more, except on
 * the middleware's own event thread.
 */
durix_return_code durix_callback_add(durix_handle* handle, uint32_t event, durix_event_handler handler, void* user);
durix_return_code durix_callback_remove(durix_handle* handle, uint32_t event, durix_event_handler handler);

durix_return_code durix_property_set(durix_handle* handle, durix_property property, const char* value);
durix_return_code durix_property_get(durix_handle* handle, durix_property property, char** value);

/* ---- Providers, services, scans, devices ---- */

durix_return_code durix_providers_get(durix_handle* handle, durix_provider** providers, uint32_t* count);
durix_return_code durix_provider_mount(const durix_provider* provider);
durix_return_code durix_provider_unmount(const durix_provider* provider);
durix_return_code durix_provider_activate(const durix_provider* provider);
durix_return_code durix_provider_deactivate(const durix_provider* provider);
durix_return_code durix_provider_match(const durix_provider* provider, durix_provider_protocol protocol,
                                       durix_device_receiver_type receiver_type); /* 0 when it matches */

/* The array is released with the system's free. */
durix_return_code durix_services_get(const durix_provider* provider, durix_esg_object** services, uint32_t* count);

durix_return_code durix_discover_start(durix_handle* handle, durix_provider_protocol protocol,
                                       durix_device_receiver_type receiver_type,
                                       const durix_scan_configuration* configuration, bool flag);
durix_return_code durix_discover_cancel(durix_handle* handle);

durix_return_code durix_device_get(durix_handle* handle, durix_device** devices, uint32_t* count);

/*
 * Here 1 means failure and any other value success. Data comes from ostiv_mem_calloc and passes to the middleware with
 * the call, also when it fails.
 */
durix_return_code durix_device_execute_request(void* device, uint32_t request, void* data);

/* ---- Guide objects ---- */

durix_return_code durix_attribute_get_str(const durix_esg_object* object, durix_attribute attribute, char** value);
durix_return_code durix_attribute_get_int(const durix_esg_object* object, durix_attribute attribute, int32_t* value);
durix_return_code durix_attribute_get_bool(const durix_esg_object* object, durix_attribute attribute, uint8_t* value);
durix_return_code durix_attribute_get_array_int(const durix_esg_object* object, durix_attribute attribute,
                                                int32_t** values, uint32_t* count);
durix_return_code durix_program_events_get(const durix_esg_object* service, durix_esg_object** events, uint32_t* count);
durix_return_code durix_esg_object_feeds_get(const durix_esg_object* object, durix_esg_object** feeds, uint32_t* count);
durix_return_code durix_feed_open(const durix_esg_object* feed, uint32_t flags);
durix_return_code durix_feeds_close(const durix_esg_object* feeds, uint32_t count, uint32_t flags);

#ifdef __cplusplus
}
#endif
#endif
