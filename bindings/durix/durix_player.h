/*
 * libdurix_player: players for live services, programmes, recordings and teletext.
 * Player events (started, closed, failed, end of media) come through the event handlers of durix.h.
 */
#ifndef DURIX_DURIX_PLAYER_H
#define DURIX_DURIX_PLAYER_H

#include "durix.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct durix_player durix_player;

/* A rendered picture (struct FFPic of FFPic.h); valid during the call, which comes on a middleware thread. */
typedef void (*durix_picture_handler)(void* picture, void* user);

enum { DURIX_RENDER_VIDEO = 0, DURIX_RENDER_PICTURES = 1 };

typedef struct durix_render_data {
  uint32_t kind; /* video into the native window, or pictures through the handler */
  void* window;  /* native window or window identifier; null for none */
  durix_picture_handler picture;
  void* user;
} durix_render_data;
DURIX_ASSERT_SIZE_32(durix_render_data, 16);

/* Commands of durix_player_teletext_change_page; 0 to 3, passed through from the host. */
enum { DURIX_TELETEXT_COMMANDS = 4 };

durix_return_code durix_player_init(void);
durix_return_code durix_player_deinit(void);
durix_return_code durix_player_create(durix_player** player, const durix_render_data* render_data, void* user);
durix_return_code durix_player_destroy(durix_player* player);
durix_return_code durix_player_render_data_set(durix_player* player, const durix_render_data* render_data);
durix_return_code durix_player_feed_add(durix_player* player, const durix_esg_object* feed);
durix_return_code durix_player_feed_remove(durix_player* player, const durix_esg_object* feed);
durix_return_code durix_player_start(durix_player* player, bool flag);
durix_return_code durix_player_stop(durix_player* player);
durix_return_code durix_player_pause(durix_player* player, bool on);
durix_return_code durix_player_seek(durix_player* player, uint32_t position);          /* seconds */
durix_return_code durix_player_get_position(durix_player* player, uint32_t* position); /* seconds */
durix_return_code durix_player_get_duration(durix_player* player, uint32_t* duration); /* seconds */
durix_return_code durix_player_size_set(durix_player* player, uint32_t width, uint32_t height);
durix_return_code durix_player_volume_set(durix_player* player, uint8_t volume); /* 0 to 100; 0 mutes */
/* Page 100 to 899, subpage by its four digits, both decimal; subpage 0 is any. A page that has not come is shown when
   it comes. The commands are next page, previous page, next subpage, previous subpage, of those that have come. */
durix_return_code durix_player_teletext_set_page(durix_player* player, uint32_t page, uint32_t subpage);
durix_return_code durix_player_teletext_change_page(durix_player* player, uint32_t command);

#ifdef __cplusplus
}
#endif
#endif
