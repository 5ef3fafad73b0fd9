#pragma once

#include <string>

// Keys of the settings, which are also the names of middleware properties.
inline const std::string OPTION_ID_ESG_LANGUAGE = "settings.option.id.esg.language";
inline const std::string OPTION_ID_AUDIO_LANGUAGE = "settings.option.id.audio.language";
inline const std::string OPTION_ID_SUBTITLE_LANGUAGE = "settings.option.id.subtitle.language";
inline const std::string OPTION_ID_HIDE_PROTECTED = "settings.option.id.hide.protected";
inline const std::string OPTION_ID_ENABLE_SUBTITLES = "settings.option.id.enable.subtitles";
inline const std::string OPTION_ID_PREFER_MULTICHANNEL_AUDIO = "settings.option.id.prefer.multichannel.audio";
inline const std::string OPTION_ID_TIMESHIFT_LENGTH = "settings.option.id.timeshift.length";
inline const std::string OPTION_ID_HIDE_RADIO = "settings.option.id.hide.radio";
inline const std::string OPTION_ID_LOCATION = "settings.option.id.location";

inline const std::string OPTION_DESCRIPTION_ESG_LANGUAGE = "settings.option.description.esg.language";
inline const std::string OPTION_DESCRIPTION_AUDIO_LANGUAGE = "settings.option.description.audio.language";
inline const std::string OPTION_DESCRIPTION_SUBTITLE_LANGUAGE = "settings.option.description.subtitle.language";
inline const std::string OPTION_DESCRIPTION_HIDE_PROTECTED = "settings.option.description.hide.protected";
inline const std::string OPTION_DESCRIPTION_ENABLE_SUBTITLES = "settings.option.description.enable.subtitles";
inline const std::string OPTION_DESCRIPTION_PREFER_MULTICHANNEL_AUDIO =
    "settings.option.description.prefer.multichannel.audio";
inline const std::string OPTION_DESCRIPTION_TIMESHIFT_LENGTH = "settings.option.description.timeshift.length";
inline const std::string OPTION_DESCRIPTION_HIDE_RADIO = "settings.option.description.hide.radio";
inline const std::string OPTION_DESCRIPTION_LOCATION = "settings.option.description.location";

inline const std::string RECORD_ALL_AUDIO_CHANNELS = "record.all.audio.channels";
