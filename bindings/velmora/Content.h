#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "velmora/ParentalRating.h"
#include "velmora/Tag.h"

class Plugin;
class Resource;

/// Something that a plugin offers. The property store may be used from any thread.
class Content {
 public:
  Content(unsigned id, Plugin* plugin);
  Content(const Content&) = delete;
  Content& operator=(const Content&) = delete;
  virtual ~Content();
  virtual bool hasResource(int type);
  virtual Resource* getResource(int type);
  virtual std::string getTitle();
  virtual std::string getDescription();

  unsigned getId() const { return _id; }
  Plugin* getPlugin() const { return _plugin; }
  void setTitle(const std::string& title);
  void setDescription(const std::string& description);

  int getIntProperty(const std::string& key) const;  // 0 when absent
  void setIntProperty(const std::string& key, int value);
  bool getBoolProperty(const std::string& key) const;  // false when absent
  void setBoolProperty(const std::string& key, bool value);
  void propertyAdd(const std::string& key, const std::string& value);  // replaces what is there
  std::string propertyGet(const std::string& key, const std::string& fallback) const;

 protected:
  mutable std::mutex _store;  // a leaf; guards what follows and the stores of the subclasses

  std::string _title;
  std::string _description;
  std::map<std::string, std::string> _texts;
  std::map<std::string, int> _numbers;

 private:
  const unsigned _id;
  Plugin* const _plugin;
};

/// Content that can be played or listed with times.
class AvContent : public Content {
 public:
  enum AvType {
    AV_NONE = 0,
    AV_SERVICE = 1,
    AV_PROGRAM = 2,
    AV_CLIP = 3,
    AV_PLAYLIST = 4,
    AV_RECORDING = 5,
    AV_SCHEDULING = 6
  };
  enum StreamType { STREAM_UNKNOWN = 0, STREAM_TV = 1, STREAM_RADIO = 2 };

  AvContent(unsigned id, Plugin* plugin, AvType type);
  ~AvContent() override;
  std::string getTitle() override;  // the name when there is no title
  virtual ParentalRating* getParentalRating();
  virtual std::vector<Tag*> getGenres();
  virtual bool isProtected();
  virtual bool isPlayable();  // true until `setPlayable` says otherwise
  virtual StreamType getStreamType();
  virtual std::string getName();  // the title when there is no name
  virtual std::string getLogoUri();
  virtual bool isFavorite();
  virtual void setFavorite(bool favorite, long position);
  virtual bool isBlockedByParentalControl();

  AvType getAvType() const { return _avType; }
  void setName(const std::string& name);
  void setPlayable(bool playable);
  bool isPlaying() const;
  void setPlaying(bool playing);
  int getDuration() const;       // seconds: the property "duration"
  int getChannelNumber() const;  // the property "channelnumber"
  void addTag(Tag* tag);         // a tag that is there already stays once
  void removeTag(Tag* tag);
  bool hasTag(Tag* tag) const;
  bool hasTag(const std::string& id) const;
  std::vector<Tag*> getTags() const;

 protected:
  ParentalRating* _parentalRating = nullptr;  // filled and deleted by subclasses
  AvType _avType;
  StreamType _streamType = STREAM_UNKNOWN;

 private:
  // guarded by _store
  std::string _name;
  bool _playable = true;
  bool _playing = false;
  bool _favorite = false;
  std::vector<Tag*> _tags;
};
