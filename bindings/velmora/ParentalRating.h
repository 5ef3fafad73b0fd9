#pragma once

class ParentalRating {
 public:
  enum ParentalRatingSystem { RATING_SYSTEM_AGE = 0 };

  ParentalRating(ParentalRatingSystem system, int value) : _system(system), _value(value) {}

  ParentalRatingSystem getSystem() const { return _system; }
  int getValue() const { return _value; }
  void setValue(int value) { _value = value; }

 private:
  ParentalRatingSystem _system;
  int _value;
};
