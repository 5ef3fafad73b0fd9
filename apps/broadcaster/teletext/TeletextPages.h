#pragma once

#include <vector>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/si/Times.h"
#include "apps/broadcaster/teletext/TeletextPage.h"

namespace broadcaster {

/// The pages of a service's teletext in its language, with the programmes from `now` on: the index is 100; 300 has two
/// subpages.
std::vector<TeletextPage> teletextPages(const Service& service, Moment now);

/// The page of subtitles, 888: what time it is.
TeletextPage teletextSubtitle(const Service& service, Moment now);
/// The same without a text.
TeletextPage emptySubtitle();

}  // namespace broadcaster
