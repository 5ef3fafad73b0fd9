#pragma once

/// The one gate before everything that enters the plugin by itself: middleware events, timer expiries, player and
/// recorder callbacks. It outlives the plugin object. It opens when a plugin has been made and shuts when that plugin
/// closes; who comes later is turned away, who is inside is waited for.
namespace gate {

void open();

/// Turns everybody away from here on, then waits until nobody but the calling thread is inside.
void shutAndWait();

/// One passage. A thread may pass again while it is inside.
class Pass {
 public:
  Pass();
  Pass(const Pass&) = delete;
  Pass& operator=(const Pass&) = delete;
  ~Pass();

  explicit operator bool() const { return _inside; }

 private:
  bool _inside;
};

}  // namespace gate
