/* The events' fields as structures of a 32-bit platform: each must lie at the offset that durix.h states. */
#include "durix/durix.h"
#include "durix/durix_player.h"
#include "durix/durix_recorder.h"

#define FIELD_AT(type, field, offset) _Static_assert(offsetof(type, field) == (offset), #type "." #field)

struct receiver_on {
  uint32_t event;
  uint8_t unread[256];
  durix_provider_protocol protocol;
  durix_device_receiver_type type;
};
FIELD_AT(struct receiver_on, protocol, DURIX_OFFSET_RECEIVER_ON_PROTOCOL);
FIELD_AT(struct receiver_on, type, DURIX_OFFSET_RECEIVER_ON_TYPE);

struct statistics {
  uint32_t event;
  uint8_t unread[260];
  uint32_t frequency;
  uint32_t bandwidth;
  uint32_t signal_available;
  uint32_t signal_locked;
  uint8_t signal_quality;
  uint8_t signal_strength;
  char snr[DURIX_STATISTICS_TEXT_SIZE];
  char ber[DURIX_STATISTICS_TEXT_SIZE];
  char per[DURIX_STATISTICS_TEXT_SIZE];
  char mfer[DURIX_STATISTICS_TEXT_SIZE];
  uint8_t battery_level;
};
FIELD_AT(struct statistics, frequency, DURIX_OFFSET_STATISTICS_FREQUENCY);
FIELD_AT(struct statistics, bandwidth, DURIX_OFFSET_STATISTICS_BANDWIDTH);
FIELD_AT(struct statistics, signal_available, DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE);
FIELD_AT(struct statistics, signal_locked, DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED);
FIELD_AT(struct statistics, signal_quality, DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY);
FIELD_AT(struct statistics, signal_strength, DURIX_OFFSET_STATISTICS_SIGNAL_STRENGTH);
FIELD_AT(struct statistics, snr, DURIX_OFFSET_STATISTICS_SNR);
FIELD_AT(struct statistics, ber, DURIX_OFFSET_STATISTICS_BER);
FIELD_AT(struct statistics, per, DURIX_OFFSET_STATISTICS_PER);
FIELD_AT(struct statistics, mfer, DURIX_OFFSET_STATISTICS_MFER);
FIELD_AT(struct statistics, battery_level, DURIX_OFFSET_STATISTICS_BATTERY_LEVEL);

struct discover {
  uint32_t event;
  uint32_t progress;
  uint32_t frequency;
  uint32_t valid;
  uint32_t service_count;
  char service_names[1][DURIX_DISCOVER_NAME_SIZE];
};
FIELD_AT(struct discover, progress, DURIX_OFFSET_DISCOVER_PROGRESS);
FIELD_AT(struct discover, frequency, DURIX_OFFSET_DISCOVER_FREQUENCY);
FIELD_AT(struct discover, valid, DURIX_OFFSET_DISCOVER_VALID);
FIELD_AT(struct discover, service_count, DURIX_OFFSET_DISCOVER_SERVICE_COUNT);
FIELD_AT(struct discover, service_names, DURIX_OFFSET_DISCOVER_SERVICE_NAMES);

struct player {
  uint32_t event;
  uint32_t unread;
  durix_player* player;
};
FIELD_AT(struct player, player, DURIX_OFFSET_PLAYER_HANDLE);

struct end_of_media {
  uint32_t event;
  durix_player* player;
};
FIELD_AT(struct end_of_media, player, DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE);

struct feeds_changed {
  uint32_t event;
  uint32_t unread;
  uint32_t state;
  uint32_t service;
};
FIELD_AT(struct feeds_changed, state, DURIX_OFFSET_FEEDS_CHANGED_STATE);
FIELD_AT(struct feeds_changed, service, DURIX_OFFSET_FEEDS_CHANGED_SERVICE);

struct timer_activating {
  uint32_t event;
  uint32_t timer;
  uint32_t value;
  uint32_t count;
  const uint32_t* conflicting;
};
FIELD_AT(struct timer_activating, timer, DURIX_OFFSET_TIMER_ID);
FIELD_AT(struct timer_activating, value, DURIX_OFFSET_TIMER_ACTIVATING_VALUE);
FIELD_AT(struct timer_activating, count, DURIX_OFFSET_TIMER_ACTIVATING_COUNT);
FIELD_AT(struct timer_activating, conflicting, DURIX_OFFSET_TIMER_ACTIVATING_IDS);

/* Words of the value records. */
FIELD_AT(durix_provider, identity, 8);
FIELD_AT(durix_provider, name, 12);
FIELD_AT(durix_scan_configuration, frequencies, 4);
FIELD_AT(durix_scan_frequency, polarisation, 24);
FIELD_AT(durix_render_data, picture, 8);
FIELD_AT(durix_request_address, port, 48);
FIELD_AT(durix_request_select, second, 260);
