// libdurix_player: the calls of durix_player.h.

#include "durix/durix_player.h"

#include <algorithm>
#include <memory>

#include "middleware/api/Attributes.h"
#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/player/Player.h"
#include "middleware/player/Players.h"
#include "middleware/player/TeletextPlayer.h"
#include "middleware/player/VideoPlayer.h"
#include "middleware/recordings/Recordings.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::OwnedPlayer;
using durix::Player;
using durix::players;

namespace {

constexpr std::uint8_t LOUDEST = 100;
constexpr std::uint32_t FIRST_PAGE = 100;
constexpr std::uint32_t LAST_PAGE = 899;

std::shared_ptr<OwnedPlayer> find(const durix_player* handle) {
  const auto instance = Instance::current();
  auto owned = players().find(handle);
  if (owned == nullptr || owned->instance.lock() != instance) throw Failure(Code::UnknownObject);
  return owned;
}

template <typename Call>
durix_return_code withPlayer(const durix_player* handle, Call call) {
  return guarded([&] {
    const auto owned = find(handle);
    const auto instance = owned->instance.lock();
    if (instance == nullptr) throw Failure(Code::NoInstance);
    call(*owned->player, *instance);
  });
}

durix::ChosenFeed chosenFeed(Instance& instance, const durix_esg_object& record) {
  if (const auto recording = durix::recordingOf(record)) {
    const auto feed = durix::recordedFeed(instance.recordings(), record);
    if (!feed) throw Failure(Code::UnknownObject);
    return {record, 0, *recording, *feed};
  }
  const auto catalogue = instance.store().catalogue();
  const auto found = durix::findFeed(*catalogue, record);
  if (!found || found->feed->type == durix::FEED_GUIDE_DATA) throw Failure(Code::UnknownObject);
  return {record, found->service->id, 0, *found->feed};
}

std::shared_ptr<Player> makePlayer(Instance& instance, const durix_render_data& data) {
  if (data.kind == DURIX_RENDER_PICTURES) return std::make_shared<durix::TeletextPlayer>(instance, data);
  return std::make_shared<durix::VideoPlayer>(instance, data);
}

// Nobody is told of it any more.
void finish(Player& player, Instance& instance) {
  player.stop();
  instance.events().forget(player.handle());
}

void checkRenderData(const durix_render_data* data) {
  need(data);
  if (data->kind > DURIX_RENDER_PICTURES) throw Failure(Code::InvalidArgument);
}

}  // namespace

namespace durix {

HandleTable<durix_player, OwnedPlayer>& players() {
  static auto* const table = new HandleTable<durix_player, OwnedPlayer>;
  return *table;
}

}  // namespace durix

extern "C" {

durix_return_code durix_player_init() {
  return guarded([] { Instance::current(); });
}

durix_return_code durix_player_deinit() {
  return guarded([] {
    const auto instance = Instance::current();
    for (const auto& owned : players().removeAll()) finish(*owned->player, *instance);
  });
}

durix_return_code durix_player_create(durix_player** player, const durix_render_data* render_data, void* user) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(player);
    checkRenderData(render_data);
    const auto made = makePlayer(*instance, *render_data);
    instance->add(made);
    *player = players().add(std::make_shared<OwnedPlayer>(OwnedPlayer{instance, render_data->kind, user, made}));
    made->setHandle(*player);
  });
}

durix_return_code durix_player_destroy(durix_player* player) {
  return withPlayer(player, [&](Player& one, Instance& instance) {
    players().remove(player);
    finish(one, instance);
  });
}

durix_return_code durix_player_render_data_set(durix_player* player, const durix_render_data* render_data) {
  return guarded([&] {
    const auto owned = find(player);
    checkRenderData(render_data);
    if (render_data->kind != owned->kind) throw Failure(Code::InvalidArgument);
    owned->player->setRenderData(*render_data);
  });
}

durix_return_code durix_player_feed_add(durix_player* player, const durix_esg_object* feed) {
  return withPlayer(player, [&](Player& one, Instance& instance) {
    need(feed);
    one.addFeed(chosenFeed(instance, *feed));
  });
}

durix_return_code durix_player_feed_remove(durix_player* player, const durix_esg_object* feed) {
  return withPlayer(player, [&](Player& one, Instance&) {
    need(feed);
    one.removeFeed(feed->id);
  });
}

durix_return_code durix_player_start(durix_player* player, bool) {
  return withPlayer(player, [](Player& one, Instance&) { one.start(); });
}

durix_return_code durix_player_stop(durix_player* player) {
  return withPlayer(player, [](Player& one, Instance&) { one.end(); });
}

durix_return_code durix_player_pause(durix_player* player, bool on) {
  return withPlayer(player, [&](Player& one, Instance&) { one.pause(on); });
}

durix_return_code durix_player_seek(durix_player* player, uint32_t position) {
  return withPlayer(player, [&](Player& one, Instance&) { one.seek(position); });
}

durix_return_code durix_player_get_position(durix_player* player, uint32_t* position) {
  return withPlayer(player, [&](Player& one, Instance&) {
    need(position);
    *position = one.position();
  });
}

durix_return_code durix_player_get_duration(durix_player* player, uint32_t* duration) {
  return withPlayer(player, [&](Player& one, Instance&) {
    need(duration);
    *duration = one.duration();
  });
}

durix_return_code durix_player_size_set(durix_player* player, uint32_t width, uint32_t height) {
  return withPlayer(player, [&](Player& one, Instance&) { one.setSize(width, height); });
}

durix_return_code durix_player_volume_set(durix_player* player, uint8_t volume) {
  return withPlayer(player, [&](Player& one, Instance&) { one.setVolume(std::min(volume, LOUDEST)); });
}

durix_return_code durix_player_teletext_set_page(durix_player* player, uint32_t page, uint32_t subpage) {
  return withPlayer(player, [&](Player& one, Instance&) {
    if (page < FIRST_PAGE || page > LAST_PAGE) throw Failure(Code::InvalidArgument);
    one.setTeletextPage(page, subpage);
  });
}

durix_return_code durix_player_teletext_change_page(durix_player* player, uint32_t command) {
  return withPlayer(player, [&](Player& one, Instance&) {
    if (command >= DURIX_TELETEXT_COMMANDS) throw Failure(Code::InvalidArgument);
    one.changeTeletextPage(command);
  });
}
}
