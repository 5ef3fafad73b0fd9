#pragma once

#include <cstddef>
#include <vector>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/si/Times.h"
#include "apps/broadcaster/ts/Bytes.h"

// The tables of the broadcast as finished sections. A table that would outgrow its sections throws std::length_error.
namespace broadcaster {

// ISO/IEC 13818-1, 2.4.4.3 and 2.4.4.8
Bytes programAssociation(const Multiplex& multiplex);
/// The service at `index` of the multiplex; after its relocation with other packet identifiers, as the next version.
Bytes programMap(const Multiplex& multiplex, std::size_t index, bool relocated = false);
/// What the data service carries: a private section that nobody needs to understand.
Bytes engineeringData(const Service& service);

// EN 300 468, 5.2.1 and 5.2.3
Bytes networkInformation(const Network& network);
/// `own` is the multiplex that sends the table: its services are the actual ones.
Bytes serviceDescription(const Network& network, const Multiplex& multiplex, const Multiplex& own);

// EN 300 468, 5.2.4: two sections, and the schedule of `now` to `until` in segments of three hours
std::vector<Bytes> presentAndFollowing(const Network& network, const Multiplex& multiplex, const Service& service,
                                       const Multiplex& own, Moment now);
std::vector<Bytes> eventSchedule(const Network& network, const Multiplex& multiplex, const Service& service,
                                 const Multiplex& own, Moment now, Moment until);

// EN 300 468, 5.2.5 and 5.2.6
Bytes timeAndDate(Moment now);
Bytes timeOffset(Moment now, std::string_view countryCode);

}  // namespace broadcaster
