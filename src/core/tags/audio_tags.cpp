#include "tags/audio_tags.h"

#include "tags/tag_values.h"
#include "tags/write_error.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <taglib/aifffile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2header.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>
#include <utility>

namespace quorlen::tags {
namespace {

constexpr std::array<std::pair<std::string_view, Container>, 13> kExtensions = {{
    {"mp3", Container::mp3},
    {"wav", Container::wav},
    {"wave", Container::wav},
    {"aif", Container::aiff},
    {"aiff", Container::aiff},
    {"aifc", Container::aiff},
    {"flac", Container::flac},
    {"ogg", Container::oggVorbis},
    {"oga", Container::oggVorbis},
    {"opus", Container::opus},
    {"m4a", Container::mp4},
    {"m4b", Container::mp4},
    {"mp4", Container::mp4},
}};

const char* const kMp4Key = "----:com.apple.iTunes:initialkey";

std::optional<std::string> nonEmpty(const TagLib::String& text) {
    std::string value = text.to8Bit(true);
    const auto first = value.find_first_not_of(" \t");
    if (first == std::string::npos)
        return std::nullopt;
    return value.substr(first, value.find_last_not_of(" \t") + 1 - first);
}

std::optional<std::string> frameText(const TagLib::ID3v2::Tag* tag, const char* id) {
    if (!tag)
        return std::nullopt;
    const TagLib::ID3v2::FrameListMap& frames = tag->frameListMap();
    const auto found = frames.find(id);
    if (found == frames.end() || found->second.isEmpty())
        return std::nullopt;
    return nonEmpty(found->second.front()->toString());
}

std::optional<std::string> fieldText(const TagLib::Ogg::XiphComment* comment, const char* name) {
    if (!comment)
        return std::nullopt;
    const TagLib::Ogg::FieldListMap& fields = comment->fieldListMap();
    const auto found = fields.find(name);
    if (found == fields.end() || found->second.isEmpty())
        return std::nullopt;
    return nonEmpty(found->second.front());
}

TempoTags readId3(const TagLib::ID3v2::Tag* tag) {
    return {frameText(tag, "TBPM"), frameText(tag, "TKEY")};
}

TempoTags readXiph(const TagLib::Ogg::XiphComment* comment) {
    return {fieldText(comment, "BPM"), fieldText(comment, "INITIALKEY")};
}

void setFrameText(TagLib::ID3v2::Tag& tag, const char* id, const std::string& text) {
    tag.removeFrames(id);
    auto frame = std::make_unique<TagLib::ID3v2::TextIdentificationFrame>(TagLib::ByteVector(id),
                                                                          TagLib::String::Latin1);
    frame->setText(TagLib::String(text));
    tag.addFrame(frame.release()); // the tag owns its frames
}

void setId3(TagLib::ID3v2::Tag& tag, double bpm, const std::optional<std::string>& key) {
    setFrameText(tag, "TBPM", std::to_string(wholeBpm(bpm)));
    if (key)
        setFrameText(tag, "TKEY", *key);
}

void setXiph(TagLib::Ogg::XiphComment& comment, double bpm, const std::optional<std::string>& key) {
    comment.addField("BPM", TagLib::String(decimalBpmText(bpm)), true);
    if (key)
        comment.addField("INITIALKEY", TagLib::String(*key), true);
}

// Files that carry ID3v2.3 keep it: rewriting their tag as 2.4 would drop
// the frames 2.4 no longer has.
TagLib::ID3v2::Version versionToKeep(const TagLib::ID3v2::Tag* tag, bool present) {
    return present && tag && tag->header()->majorVersion() == 3 ? TagLib::ID3v2::v3
                                                                : TagLib::ID3v2::v4;
}

// An MPEG stream starts with its ID3v2 tag or a frame sync; TagLib would
// find frames inside any other file too (a WAV file named .mp3) and put a
// tag in front of it that its real readers cannot skip.
bool startsLikeMp3(TagLib::IOStream& stream) {
    stream.seek(0);
    const TagLib::ByteVector head = stream.readBlock(3);
    stream.seek(0);
    if (head.size() < 3)
        return false;
    return head.startsWith("ID3") || (static_cast<unsigned char>(head[0]) == 0xFF &&
                                      (static_cast<unsigned char>(head[1]) & 0xE0) == 0xE0);
}

std::unique_ptr<TagLib::File> open(TagLib::IOStream& stream, Container container) {
    using namespace TagLib;
    switch (container) {
    case Container::mp3:
        if (!startsLikeMp3(stream))
            return nullptr;
        return std::make_unique<MPEG::File>(&stream, ID3v2::FrameFactory::instance());
    case Container::wav:
        return std::make_unique<RIFF::WAV::File>(&stream);
    case Container::aiff:
        return std::make_unique<RIFF::AIFF::File>(&stream);
    case Container::flac:
        return std::make_unique<FLAC::File>(&stream, ID3v2::FrameFactory::instance());
    case Container::oggVorbis:
        return std::make_unique<Ogg::Vorbis::File>(&stream);
    case Container::opus:
        return std::make_unique<Ogg::Opus::File>(&stream);
    case Container::mp4:
        return std::make_unique<MP4::File>(&stream);
    }
    return nullptr;
}

// TagLib marks a file invalid only when its structure is broken; an audio
// file also has a sample rate.
bool holdsAudio(const TagLib::File* file) {
    return file && file->isValid() && file->audioProperties() &&
           file->audioProperties()->sampleRate() > 0;
}

} // namespace

std::optional<Container> containerForName(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    if (dot == std::string_view::npos)
        return std::nullopt;
    std::string extension(fileName.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const auto& [name, container] : kExtensions)
        if (name == extension)
            return container;
    return std::nullopt;
}

const char* containerName(Container container) {
    switch (container) {
    case Container::mp3:
        return "MP3";
    case Container::wav:
        return "WAV";
    case Container::aiff:
        return "AIFF";
    case Container::flac:
        return "FLAC";
    case Container::oggVorbis:
        return "Ogg Vorbis";
    case Container::opus:
        return "Opus";
    case Container::mp4:
        return "M4A";
    }
    return "";
}

TaggedFile::TaggedFile(TagLib::IOStream& stream, Container container)
    : m_container(container), m_file(open(stream, container)) {
    if (container == Container::oggVorbis && !holdsAudio(m_file.get())) {
        m_file.reset();
        stream.seek(0);
        m_container = Container::opus;
        m_file = open(stream, m_container);
    }
    if (!holdsAudio(m_file.get()))
        throw WriteError(std::string(text::failure::kNotValidPrefix) + containerName(container) +
                         " file");
}

TaggedFile::~TaggedFile() = default;

TempoTags TaggedFile::read() const {
    using namespace TagLib;
    switch (m_container) {
    case Container::mp3:
        return readId3(static_cast<MPEG::File&>(*m_file).ID3v2Tag());
    case Container::wav:
        return readId3(static_cast<RIFF::WAV::File&>(*m_file).ID3v2Tag());
    case Container::aiff:
        return readId3(static_cast<RIFF::AIFF::File&>(*m_file).tag());
    case Container::flac:
        return readXiph(static_cast<FLAC::File&>(*m_file).xiphComment());
    case Container::oggVorbis:
    case Container::opus:
        return readXiph(dynamic_cast<Ogg::XiphComment*>(m_file->tag()));
    case Container::mp4: {
        const MP4::Tag* tag = static_cast<MP4::File&>(*m_file).tag();
        TempoTags tags;
        if (tag && tag->contains("tmpo") && tag->item("tmpo").toInt() > 0)
            tags.bpm = std::to_string(tag->item("tmpo").toInt());
        if (tag && tag->contains(kMp4Key) && !tag->item(kMp4Key).toStringList().isEmpty())
            tags.key = nonEmpty(tag->item(kMp4Key).toStringList().front());
        return tags;
    }
    }
    return {};
}

void TaggedFile::set(double bpm, const std::optional<std::string>& key) {
    using namespace TagLib;
    switch (m_container) {
    case Container::mp3:
        setId3(*static_cast<MPEG::File&>(*m_file).ID3v2Tag(true), bpm, key);
        return;
    case Container::wav:
        setId3(*static_cast<RIFF::WAV::File&>(*m_file).ID3v2Tag(), bpm, key);
        return;
    case Container::aiff:
        setId3(*static_cast<RIFF::AIFF::File&>(*m_file).tag(), bpm, key);
        return;
    case Container::flac:
        setXiph(*static_cast<FLAC::File&>(*m_file).xiphComment(true), bpm, key);
        return;
    case Container::oggVorbis:
    case Container::opus:
        setXiph(*dynamic_cast<Ogg::XiphComment*>(m_file->tag()), bpm, key);
        return;
    case Container::mp4: {
        MP4::Tag& tag = *static_cast<MP4::File&>(*m_file).tag();
        tag.setItem("tmpo", MP4::Item(wholeBpm(bpm)));
        if (key)
            tag.setItem(kMp4Key, MP4::Item(StringList(String(*key))));
        return;
    }
    }
}

bool TaggedFile::save() {
    using namespace TagLib;
    switch (m_container) {
    case Container::mp3: {
        auto& file = static_cast<MPEG::File&>(*m_file);
        return file.save(MPEG::File::ID3v2, File::StripNone,
                         versionToKeep(file.ID3v2Tag(), file.hasID3v2Tag()), File::DoNotDuplicate);
    }
    case Container::wav: {
        auto& file = static_cast<RIFF::WAV::File&>(*m_file);
        return file.save(RIFF::WAV::File::ID3v2, File::StripNone,
                         versionToKeep(file.ID3v2Tag(), file.hasID3v2Tag()));
    }
    case Container::aiff: {
        auto& file = static_cast<RIFF::AIFF::File&>(*m_file);
        return file.save(versionToKeep(file.tag(), file.hasID3v2Tag()));
    }
    case Container::flac:
    case Container::oggVorbis:
    case Container::opus:
    case Container::mp4:
        return m_file->save();
    }
    return false;
}

} // namespace quorlen::tags
