#include "apps/broadcaster/Broadcast.h"

#include <algorithm>

#include "apps/broadcaster/media/AudioSource.h"
#include "apps/broadcaster/media/SubtitleSource.h"
#include "apps/broadcaster/media/VideoSource.h"
#include "apps/broadcaster/si/Tables.h"
#include "apps/broadcaster/teletext/TeletextSource.h"

namespace broadcaster {
namespace {

using namespace std::chrono_literals;

/// How far the schedule goes.
constexpr std::chrono::hours SCHEDULE{24 * 7};

/// The moment at a time of the stream.
Moment momentAt(Moment start, Ticks now) {
  return start + std::chrono::floor<std::chrono::seconds>(now);
}

/// A table of one section that stays the same.
SectionStream::Source always(Bytes section) {
  return [section = std::move(section)](Ticks) { return std::vector<Bytes>{section}; };
}

/// By service; null where identifiers stay.
using Relocations = std::vector<std::shared_ptr<Relocation>>;

/// Pictures can be decoded from each full second on: the change comes with one of them.
Relocations makeRelocations(const Multiplex& multiplex, std::chrono::seconds length) {
  Relocations relocations;
  for (const Service& service : multiplex.services) {
    relocations.push_back(service.relocates && length > 1s ? std::make_shared<Relocation>(length / 2) : nullptr);
  }
  return relocations;
}

/// The tables of ISO/IEC 13818-1, ten times a second (TR 101 211, 4.4.1) although they may wait for other packets.
void addProgramTables(Multiplexer& multiplexer, const Multiplex& multiplex, const Relocations& relocations) {
  multiplexer.sections(pid::PAT).repeat(90ms, always(programAssociation(multiplex)));
  for (std::size_t i = 0; i < multiplex.services.size(); ++i) {
    const ServicePids pids(i);
    multiplexer.sections(pids.pmt).repeat(
        90ms,
        [before = programMap(multiplex, i, false), after = programMap(multiplex, i, true), relocation = relocations[i]](
            Ticks) { return std::vector<Bytes>{relocation != nullptr && relocation->isAnnounced() ? after : before}; });
    if (multiplex.services[i].type != ServiceType::Data) continue;
    multiplexer.sections(pids.data()).repeat(500ms, always(engineeringData(multiplex.services[i])));
  }
}

/// The tables of DVB but the guide, with the intervals of TR 101 211, 4.4, or shorter ones.
void addServiceTables(Multiplexer& multiplexer, const Network& network, const Multiplex& own, Moment start) {
  SectionStream& time = multiplexer.sections(pid::TDT);
  time.repeat(5s, [start](Ticks now) { return std::vector<Bytes>{timeAndDate(momentAt(start, now))}; });
  time.repeat(5s, [start, country = network.countryCode](Ticks now) {
    return std::vector<Bytes>{timeOffset(momentAt(start, now), country)};
  });
  multiplexer.sections(pid::NIT).repeat(2s, always(networkInformation(network)));
  for (const Multiplex& multiplex : network.multiplexes) {
    multiplexer.sections(pid::SDT).repeat(&multiplex == &own ? 1s : 4s,
                                          always(serviceDescription(network, multiplex, own)));
  }
}

/// The schedule of every service goes round in one turn, a few sections at a time, so that it crowds out neither the
/// other tables nor pictures and sound: first what this multiplex sends, then the others, which come every second turn.
void addSchedule(SectionStream& guide, const Network& network, const Multiplex& own, Moment start) {
  constexpr Ticks TURN = 8s;
  constexpr std::ptrdiff_t AT_ONCE = 8;
  struct Part {
    std::vector<Bytes> sections;
    Ticks interval;
  };
  std::vector<Part> parts;
  for (const Multiplex& multiplex : network.multiplexes) {
    const Ticks interval = &multiplex == &own ? TURN : 2 * TURN;
    for (const Service& service : multiplex.services) {
      const std::vector<Bytes> all = eventSchedule(network, multiplex, service, own, start, start + SCHEDULE);
      for (auto part = all.begin(); part != all.end();) {
        const auto end = part + std::min(AT_ONCE, all.end() - part);
        parts.push_back({{part, end}, interval});
        part = end;
      }
    }
  }
  std::ranges::stable_sort(parts, {}, &Part::interval);
  Ticks first{0};
  for (Part& part : parts) {
    guide.repeat(
        part.interval, [sections = std::move(part.sections)](Ticks) { return sections; }, first);
    first += TURN / static_cast<std::int64_t>(parts.size());
  }
}

void addGuide(Multiplexer& multiplexer, const Network& network, const Multiplex& own, Moment start) {
  SectionStream& guide = multiplexer.sections(pid::EIT);
  for (const Multiplex& multiplex : network.multiplexes) {
    const bool actual = &multiplex == &own;
    for (const Service& service : multiplex.services) {
      // The caller keeps network and multiplexes while the stream is made.
      guide.repeat(actual ? 1500ms : 4s, [&network, &multiplex, &service, &own, start](Ticks now) {
        return presentAndFollowing(network, multiplex, service, own, momentAt(start, now));
      });
    }
  }
  addSchedule(guide, network, own, start);
}

constexpr std::uint8_t VIDEO_STREAM = 0xE0;
constexpr std::uint8_t AUDIO_STREAM = 0xC0;
constexpr std::uint8_t PRIVATE_STREAM_1 = 0xBD;

/// Pictures may come this long before their time; the start leaves room to bring the first ones (see PRELOAD).
constexpr Ticks VIDEO_LEAD = 1200ms;
/// Sound at 96 kbit/s is then 2.4 of the 3.5 kB that receivers keep for it (ISO/IEC 13818-1, 2.4.2.3).
constexpr Ticks AUDIO_LEAD = 200ms;
/// So that the last unit may go out before the end, and the first one still has some time.
constexpr Ticks AUDIO_EARLY = ElementaryStream::PRELOAD - AUDIO_LEAD + 20ms;
/// Subtitles that end with the pictures are still to be sent before.
constexpr Ticks SUBTITLE_LEAD = ElementaryStream::PRELOAD + 100ms;

void addPicturesAndSound(Multiplexer& multiplexer, const Service& service, const ServicePids& pids,
                         const std::shared_ptr<Relocation>& relocation, Moment start, std::chrono::seconds length) {
  if (service.video) {
    multiplexer.add({.pid = pids.video(),
                     .streamId = VIDEO_STREAM,
                     .lead = VIDEO_LEAD,
                     .carriesPcr = true,
                     .relocation = relocation,
                     .laterPid = pids.laterVideo()},
                    std::make_unique<VideoSource>(service, start, length.count() * TestPicture::PER_SECOND));
  }
  for (std::size_t track = 0; track < service.audio.size(); ++track) {
    const Audio& audio = service.audio[track];
    multiplexer.add({.pid = pids.audio(track),
                     .streamId = audio.codec == AudioCodec::Ac3 ? PRIVATE_STREAM_1 : AUDIO_STREAM,
                     .lead = AUDIO_LEAD,
                     .carriesPcr = !service.video && track == 0,
                     .relocation = relocation,
                     .laterPid = pids.laterAudio(track)},
                    std::make_unique<AudioSource>(audio, AUDIO_EARLY, length));
  }
}

void addMedia(Multiplexer& multiplexer, const Multiplex& multiplex, const Relocations& relocations, Moment start,
              std::chrono::seconds length) {
  for (std::size_t i = 0; i < multiplex.services.size(); ++i) {
    const Service& service = multiplex.services[i];
    const ServicePids pids(i);
    addPicturesAndSound(multiplexer, service, pids, relocations[i], start, length);
    for (std::size_t track = 0; track < service.subtitles.size(); ++track) {
      multiplexer.add({.pid = pids.subtitles(track), .streamId = PRIVATE_STREAM_1, .lead = SUBTITLE_LEAD},
                      std::make_unique<SubtitleSource>(service.subtitles[track], start, length));
    }
    if (!service.hasTeletext) continue;
    multiplexer.add({.pid = pids.teletext(),
                     .streamId = PRIVATE_STREAM_1,
                     .lead = AUDIO_LEAD,
                     .headerLength = TeletextSource::HEADER_LENGTH},
                    std::make_unique<TeletextSource>(service, start, AUDIO_EARLY, length));
  }
}

}  // namespace

void makeMultiplex(const Network& network, const Multiplex& multiplex, Moment start, std::chrono::seconds length,
                   const Multiplexer::Sink& sink) {
  Multiplexer multiplexer(multiplex.bitRate);
  const Relocations relocations = makeRelocations(multiplex, length);
  addProgramTables(multiplexer, multiplex, relocations);
  addServiceTables(multiplexer, network, multiplex, start);
  addGuide(multiplexer, network, multiplex, start);
  addMedia(multiplexer, multiplex, relocations, start, length);
  multiplexer.run(length, sink);
}

}  // namespace broadcaster
