#pragma once

#include <string>
#include <vector>

#include "FFPic.h"
#include "velmora/Content.h"
#include "velmora/Types.h"
#include "velmora/VmTimer.h"

/// Implemented by the user interface; calls come from middleware threads.
class PlayerListener {
 public:
  virtual ~PlayerListener();
  virtual void imageReceived(FFPic* picture) = 0;
  virtual void playerStarted() = 0;
  virtual void playerError() = 0;
  virtual void playerStopped() = 0;
  virtual void playerBlocked() = 0;
  virtual void playerUnblocked() = 0;
};

/// Where a player draws.
class Canvas {
 public:
  virtual ~Canvas();
  virtual void* getWindowId() = 0;
  virtual unsigned getWidth() = 0;   // pixels
  virtual unsigned getHeight() = 0;  // pixels
};

/// Positions and durations are seconds, volumes 0 to 100.
class Player : public TimerListener {
 public:
  Player();
  ~Player() override;
  void timerExpired(VmTimer* timer, void* data) override;
  virtual int getType();
  virtual void setCanvas(Canvas* canvas);
  virtual Canvas* getCanvas();
  virtual bool start(bool flag) = 0;
  virtual bool stop() = 0;
  virtual bool pause(bool on) = 0;
  virtual bool play();
  virtual bool setSize(unsigned width, unsigned height) = 0;
  virtual bool setVolume(unsigned char volume) = 0;
  virtual unsigned char getVolume() = 0;
  virtual bool setMute(bool mute) = 0;
  virtual bool isMuted() = 0;
  virtual std::vector<std::string> getAudioLanguages();
  virtual std::vector<std::string> getSubtitleLanguages();
  virtual std::string getSelectedAudioLanguage();
  virtual std::string getSelectedSubtitleLanguage();
  virtual void seek(unsigned position);
  virtual void drag(unsigned position);
  virtual unsigned getDuration();
  virtual unsigned getCurrentPos();
  virtual double getProgressRatio();
  virtual unsigned bytesTotal();
  virtual unsigned bytesLoaded();
  virtual unsigned bytesStart();
  virtual unsigned getBufferBegin();
  virtual unsigned getBufferEnd();
  virtual bool setTeletextPage(unsigned page, unsigned subpage);
  virtual bool changeTeletextPage(VmTeletextPageCmd command);
  virtual AvContent* getContent();
  virtual void changeAudioLanguage(std::string language);
  virtual void changeSubtitleLanguage(std::string language);

 protected:
  AvContent* _content = nullptr;  // not owned
  Canvas* _canvas = nullptr;      // not owned
  unsigned _width = 0;
  unsigned _height = 0;
  std::string _selectedAudioLanguage;
  std::string _selectedSubtitleLanguage;
};
