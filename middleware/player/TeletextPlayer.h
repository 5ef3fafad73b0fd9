#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

#include "middleware/player/Player.h"
#include "middleware/player/TeletextScreen.h"
#include "middleware/reception/ServiceReception.h"
#include "middleware/si/Program.h"

namespace durix {

/// Shows pages of the teletext feeds that it was given, as pictures through the handler of its render data. Before a
/// page is asked for it shows the one that the service names as its first, else 100.
class TeletextPlayer : public Player, private ServiceTaker {
 public:
  /// The instance outlives everything but the object itself: stop() is called before it ends.
  TeletextPlayer(Instance& instance, const durix_render_data& data);
  ~TeletextPlayer() override;

  void setRenderData(const durix_render_data& data) override;
  void start() override;
  void end() override;
  void pause(bool isOn) override;
  void stop() noexcept override;
  void setTeletextPage(std::uint32_t page, std::uint32_t subpage) override;
  void changeTeletextPage(std::uint32_t command) override;

 private:
  void takeProgram(const Program& program) override;
  void takePacket(const PacketView& packet) override;
  void beginAgain() override { _screen.interrupt(); }
  void end(PacketTaker::End reason) override;

  void tune();  // _receptionMutex is held; throws Failure
  void resume();
  void feedsChanged() override;
  void chooseStreams(const Program& program);

  Instance& _instance;
  TeletextScreen _screen;

  std::atomic<bool> _hasEnded = false;  // nothing comes any more, until it is tuned again

  // guarded by _programMutex, above the feeds' and the screen's
  std::mutex _programMutex;
  std::optional<Program> _program;

  // guarded by _receptionMutex, above the others: one start or end at a time; no handler runs in it
  std::mutex _receptionMutex;
  bool _isStarted = false;
  bool _isStopped = false;
  std::unique_ptr<ServiceReception> _reception;  // last: nothing comes when it is gone
};

}  // namespace durix
