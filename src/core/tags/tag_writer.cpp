#include "tags/tag_writer.h"

#include "tags/descriptor_stream.h"
#include "tags/replacement_file.h"
#include "tags/tag_values.h"
#include "tags/write_error.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <taglib/tfilestream.h>
#include <unistd.h>

namespace quorlen::tags {

namespace {

Container containerOf(const std::string& path) {
    const auto container = containerForName(path);
    if (!container)
        throw WriteError(text::failure::kUnsupportedContainer);
    return *container;
}

std::string resolved(const std::string& path) {
    char buffer[PATH_MAX];
    if (!::realpath(path.c_str(), buffer))
        throw systemWriteError(text::failure::kCannotFind, errno);
    return buffer;
}

TempoTags readFrom(const std::string& path, Container container) {
    TagLib::FileStream stream(path.c_str(), true);
    if (!stream.isOpen())
        throw systemWriteError(text::failure::kCannotRead, errno ? errno : EACCES);
    return TaggedFile(stream, container).read();
}

// The tempo as the container's tag holds it.
std::string bpmText(Container container, double bpm) {
    const bool wholeNumber = container == Container::mp3 || container == Container::wav ||
                             container == Container::aiff || container == Container::mp4;
    return wholeNumber ? std::to_string(wholeBpm(bpm)) : decimalBpmText(bpm);
}

// Fills `outcome` as it learns; throws WriteError.
void writeOrThrow(const std::string& path, const TagRequest& request, TagOutcome& outcome) {
    if (request.key && !isKeySpelling(*request.key))
        throw WriteError("'" + *request.key + text::failure::kNotAKeySuffix);
    const Container container = containerOf(path);
    const std::string target = resolved(path);
    if (request.analyzed && stampOf(target) != request.analyzed)
        throw WriteError(text::failure::kChangedSinceAnalysis);
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        throw systemWriteError(text::failure::kCannotWrite, errno);

    outcome.taggedBpm = readFrom(target, container).bpm;
    if (outcome.taggedBpm && !request.replaceExisting) {
        outcome.result = TagResult::kept;
        return;
    }

    ReplacementFile copy(target);
    if (request.analyzed && copy.copiedFrom() != *request.analyzed)
        throw WriteError(text::failure::kChangedSinceAnalysis);
    {
        DescriptorStream stream(copy.descriptor(), target);
        TaggedFile tagged(stream, container);
        tagged.set(request.bpm, request.key);
        const bool saved = tagged.save();
        if (stream.failure())
            throw systemWriteError(text::failure::kCannotWriteTags, *stream.failure());
        if (!saved)
            throw WriteError(text::failure::kTagsNotSaved);
    }
    // A save that TagLib reported as done but that did not land is caught
    // before the copy replaces anything.
    const std::string written = bpmText(container, request.bpm);
    {
        DescriptorStream stream(copy.descriptor(), target);
        const TempoTags read = TaggedFile(stream, container).read();
        if (read.bpm != written || (request.key && read.key != request.key) || stream.failure())
            throw WriteError(text::failure::kTagsNotReadBack);
    }
    outcome.writtenStamp = copy.replaceTarget();
    outcome.result = TagResult::written;
    outcome.writtenBpm = written;
}

} // namespace

TagOutcome writeTempoTags(const std::string& path, const TagRequest& request) {
    TagOutcome outcome;
    try {
        writeOrThrow(path, request, outcome);
        return outcome;
    } catch (const std::bad_alloc&) {
        outcome.reason = text::failure::kTagsOutOfMemory;
    } catch (const std::exception& error) {
        outcome.reason = error.what();
    }
    outcome.result = TagResult::failed;
    return outcome;
}

TempoTags readTempoTags(const std::string& path) { return readFrom(path, containerOf(path)); }

} // namespace quorlen::tags
