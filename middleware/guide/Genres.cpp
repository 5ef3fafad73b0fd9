#include "middleware/guide/Genres.h"

#include <array>

namespace durix {

const char* genreText(std::uint8_t content) {
  static constexpr std::array<const char*, 16> TEXTS{"",
                                                     "Movie/Drama",
                                                     "News/Current affairs",
                                                     "Show/Game show",
                                                     "Sports",
                                                     "Children's/Youth programmes",
                                                     "Music/Ballet/Dance",
                                                     "Arts/Culture",
                                                     "Social/Political issues/Economics",
                                                     "Education/Science/Factual topics",
                                                     "Leisure hobbies",
                                                     "Special characteristics",
                                                     "Adult",
                                                     "",
                                                     "",
                                                     ""};
  return TEXTS[content >> 4];
}

}  // namespace durix
