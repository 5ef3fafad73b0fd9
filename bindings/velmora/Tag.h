#pragma once

#include <string>

/// A mark on content. Tags are made by the factory, live for the whole process and are compared by address.
class Tag {
 public:
  const std::string& getId() const { return _id; }
  const std::string& getName() const { return _name; }
  const std::string& getText() const { return _text; }

 private:
  friend class TagFactory;
  Tag(std::string id, std::string name, std::string text);

  const std::string _id;
  const std::string _name;
  const std::string _text;
};

class TagFactory {
 public:
  static TagFactory* getInstance();
  /// The tag with this id, made at the first call; name and text count only then.
  Tag* getTag(const std::string& id, const std::string& name, const std::string& text);
};
