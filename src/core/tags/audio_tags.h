#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace TagLib {
class File;
class IOStream;
} // namespace TagLib

namespace quorlen::tags {

// The kinds of file whose tempo and key tags are written, each with the tags
// its players read: ID3v2 TBPM/TKEY (MP3, WAV, AIFF), Vorbis comments
// BPM/INITIALKEY (FLAC, Ogg Vorbis, Opus), MP4 tmpo and the iTunes
// "initialkey" item (M4A and MP4 with AAC or ALAC).
enum class Container { mp3, wav, aiff, flac, oggVorbis, opus, mp4 };

// The container a file name stands for, by its extension (case-insensitive);
// nullopt for every other kind of file. ".ogg" and ".oga" say Ogg Vorbis,
// though such a file may hold Opus (openTagged tries both).
std::optional<Container> containerForName(std::string_view fileName);

// "MP3", "Ogg Vorbis", "M4A": the name in messages.
const char* containerName(Container container);

// What the tempo and key tags of a file hold, as written there.
struct TempoTags {
    std::optional<std::string> bpm; // absent when there is none, or it is empty
    std::optional<std::string> key;
};

// One file's tags, opened with TagLib over a stream it does not own.
class TaggedFile {
public:
    // Opens `stream` as `container`; throws WriteError when TagLib does not
    // recognise it as one.
    TaggedFile(TagLib::IOStream& stream, Container container);
    ~TaggedFile();
    TaggedFile(const TaggedFile&) = delete;
    TaggedFile& operator=(const TaggedFile&) = delete;

    TempoTags read() const;
    // Sets the tempo (a whole number in ID3v2 and MP4, two decimals at most
    // in Vorbis comments) and, when given, the key; leaves every other tag
    // as it was.
    void set(double bpm, const std::optional<std::string>& key);
    // Writes the tags into the stream; false when TagLib refuses.
    bool save();

private:
    Container m_container;
    std::unique_ptr<TagLib::File> m_file;
};

} // namespace quorlen::tags
