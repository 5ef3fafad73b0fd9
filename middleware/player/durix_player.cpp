// libdurix_player: the calls of durix_player.h.

#include "durix/durix_player.h"

#include <algorithm>
#include <memory>

#include "middleware/api/Attributes.h"
#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/player/Player.h"
#include "middleware/portability/HandleTable.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::Player;

namespace {

constexpr std::uint8_t LOUDEST = 100;
constexpr std::uint32_t FIRST_PAGE = 100;
constexpr std::uint32_t LAST_PAGE = 899;

// A player lives as long as the instance that it was made with, if nobody destroys it before.
struct Owned {
  Owned(const std::shared_ptr<Instance>& owner, const durix_render_data& data) : instance(owner), player(data) {}

  std::weak_ptr<Instance> instance;
  Player player;
};

// Never destroyed: a call may come while the process ends.
durix::HandleTable<durix_player, Owned>& players() {
  static auto* const table = new durix::HandleTable<durix_player, Owned>;
  return *table;
}

template <typename Call>
durix_return_code withPlayer(const durix_player* handle, Call call) {
  return guarded([&] {
    const auto instance = Instance::current();
    const auto owned = players().find(handle);
    if (owned == nullptr || owned->instance.lock() != instance) throw Failure(Code::UnknownObject);
    call(owned->player, *instance);
  });
}

void checkRenderData(const durix_render_data* data) {
  need(data);
  if (data->kind > DURIX_RENDER_PICTURES) throw Failure(Code::InvalidArgument);
}

}  // namespace

extern "C" {

durix_return_code durix_player_init() {
  return guarded([] { Instance::current(); });
}

durix_return_code durix_player_deinit() {
  return guarded([] {
    Instance::current();
    players().removeAll();
  });
}

durix_return_code durix_player_create(durix_player** player, const durix_render_data* render_data, void*) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(player);
    checkRenderData(render_data);
    *player = players().add(std::make_shared<Owned>(instance, *render_data));
  });
}

durix_return_code durix_player_destroy(durix_player* player) {
  return withPlayer(player, [&](Player&, Instance&) { players().remove(player); });
}

durix_return_code durix_player_render_data_set(durix_player* player, const durix_render_data* render_data) {
  return withPlayer(player, [&](Player& one, Instance&) {
    checkRenderData(render_data);
    one.setRenderData(*render_data);
  });
}

durix_return_code durix_player_feed_add(durix_player* player, const durix_esg_object* feed) {
  return withPlayer(player, [&](Player& one, Instance& instance) {
    need(feed);
    const auto catalogue = instance.store().catalogue();
    const auto found = durix::findFeed(*catalogue, *feed);
    if (!found || found->feed->type == durix::FEED_GUIDE_DATA) throw Failure(Code::UnknownObject);
    one.addFeed(*feed);
  });
}

durix_return_code durix_player_feed_remove(durix_player* player, const durix_esg_object* feed) {
  return withPlayer(player, [&](Player& one, Instance&) {
    need(feed);
    if (!one.removeFeed(*feed)) throw Failure(Code::UnknownObject);
  });
}

durix_return_code durix_player_start(durix_player* player, bool) {
  return withPlayer(player, [](Player&, Instance&) {
    throw Failure(Code::NotSupported, "a player is started, but nothing can be played yet");
  });
}

// Nothing plays: there is nothing to stop, to pause, to seek in or to measure.
durix_return_code durix_player_stop(durix_player* player) {
  return withPlayer(player, [](Player&, Instance&) { throw Failure(Code::NotSupported); });
}

durix_return_code durix_player_pause(durix_player* player, bool) {
  return durix_player_stop(player);
}

durix_return_code durix_player_seek(durix_player* player, uint32_t) {
  return durix_player_stop(player);
}

durix_return_code durix_player_get_position(durix_player* player, uint32_t*) {
  return durix_player_stop(player);
}

durix_return_code durix_player_get_duration(durix_player* player, uint32_t*) {
  return durix_player_stop(player);
}

durix_return_code durix_player_size_set(durix_player* player, uint32_t width, uint32_t height) {
  return withPlayer(player, [&](Player& one, Instance&) { one.setSize(width, height); });
}

durix_return_code durix_player_volume_set(durix_player* player, uint8_t volume) {
  return withPlayer(player, [&](Player& one, Instance&) {
    if (volume > LOUDEST) throw Failure(Code::InvalidArgument);
    one.setVolume(volume);
  });
}

durix_return_code durix_player_teletext_set_page(durix_player* player, uint32_t page, uint32_t) {
  return withPlayer(player, [&](Player&, Instance&) {
    if (page < FIRST_PAGE || page > LAST_PAGE) throw Failure(Code::InvalidArgument);
    throw Failure(Code::NotSupported);
  });
}

durix_return_code durix_player_teletext_change_page(durix_player* player, uint32_t) {
  return durix_player_stop(player);
}
}
