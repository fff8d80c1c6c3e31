#include "RecordLoad.h"

#include "BlockCheck.h"
#include "Interrupt.h"
#include "Leftovers.h"
#include "LibraryLog.h"
#include "Text.h"
#include "VtkMessages.h"

#include "core/ClassVersions.h"
#include "core/Error.h"
#include "platform/FileSystem.h"
#include "scenegraph/GraphBuilder.h"
#include "scenegraph/StandardNodes.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vtkDataArray.h>

namespace tavosce
{

namespace
{

/// Observes a reader as long as it lives.
class Observation
{
public:
    Observation(Subject& subject, Observer& observer)
        : _subject(subject)
        , _observer(observer)
    {
        _subject.attach(_observer);
    }

    ~Observation() { _subject.detach(_observer); }

    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;

private:
    Subject& _subject;
    Observer& _observer;
};

/// Hands on what nodes need to be upgraded with the class versions of their own record: a reader adds up those of all
/// records that it has loaded.
class OwnVersions : public tsg::NodeRegistry
{
public:
    OwnVersions(tsg::NodeRegistry& builders, const Properties& versions)
        : _builders(builders)
    {
        for (const std::string& className : versions.names())
        {
            _versions.setClassVersion(className, versions.getInt(className));
        }
    }

    void upgradeNodeProperties(const std::string& objectKey, Properties& properties, const ClassVersions&) override
    {
        _builders.upgradeNodeProperties(objectKey, properties, _versions);
    }

    void postUpgradeNodeProperties(const ClassVersions&) override { _builders.postUpgradeNodeProperties(_versions); }

    std::vector<tsg::VersionGap> findVersionGaps(const ClassVersions& stored) const override
    {
        return _builders.findVersionGaps(stored);
    }

private:
    tsg::NodeRegistry& _builders;
    ClassVersions _versions;
};

} // namespace

/// Hands what is loaded on to a builder, and knows which block is being delivered.
class RecordLoader::Delivery : public tsg::NodeStream
{
public:
    Delivery(tsg::GraphBuilder& builder, const RecordContents& contents)
        : _builder(builder)
        , _registry(builder.getNodeRegistry(), contents.classVersions)
    {
    }

    /// Complaints about one block that was delivered all the same.
    struct Complaint
    {
        std::size_t block;
        std::string text;
    };

    bool write(const std::string& objectKey, Properties&& properties) override
    {
        return _builder.write(objectKey, std::move(properties));
    }

    bool writePolys(const std::string& objectKey, vtkPolyData* polys, tsg::TimeStamp stamp) override
    {
        count();
        return _builder.writePolys(objectKey, polys, stamp);
    }

    bool writePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override
    {
        count();
        return _builder.writePointData(objectKey, polys, array);
    }

    bool writeCellData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override
    {
        count();
        return _builder.writeCellData(objectKey, polys, array);
    }

    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag,
                             tsg::TimeStamp stamp) override
    {
        count();
        return _builder.writeBinaryNodeData(objectKey, array, tag, stamp);
    }

    bool writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag) override
    {
        return _builder.writePropNodeData(objectKey, std::move(properties), tag);
    }

    tsg::NodeRegistry& getNodeRegistry() override { return _registry; }

    /// How many blocks have come, which is the index of the one that is being loaded.
    std::size_t delivered() const { return _delivered; }

    const std::vector<Complaint>& complaints() const { return _complaints; }

    /// What VTK and the library said since the last block came.
    std::string lastWords() { return joined(_vtk.takeErrors()) + joined(_log.take()); }

private:
    void count()
    {
        for (std::string& text : _vtk.takeErrors())
        {
            _complaints.push_back({_delivered, std::move(text)});
        }
        ++_delivered;
    }

    tsg::GraphBuilder& _builder;
    OwnVersions _registry;
    VtkMessages _vtk;
    LibraryLog _log;
    std::size_t _delivered = 0;
    std::vector<Complaint> _complaints;
};

RecordLoader::RecordLoader(SceneFile& file, Report& report)
    : _file(file)
    , _report(report)
{
    tsg::registerStandardNodes(_registry);
    _reader.setStopCheck(&throwIfInterrupted);
    const LibraryLog log; // the file has been walked before, and what there is to say has been said
    try
    {
        if (_reader.open(OS::toWide(file.path())) != tsg::io::FileIoStatus::Success)
        {
            throw Failure(CannotOpen, shown(file.path()), "the file has changed since it was looked at");
        }
    }
    catch (const InternalError&)
    {
        // A stray tag. The records before it can be loaded.
    }
}

tsg::SceneGraph RecordLoader::load(std::size_t record, const RecordContents& contents, std::size_t done,
                                   std::size_t total)
{
    if (!contents.isInPlace)
    {
        throw Failure(TooDamaged, _file.placeOf(record, contents.faultPosition), contents.fault);
    }
    tsg::GraphBuilder builder(_registry);
    Delivery delivery(builder, contents);
    LoadProgress progress(_report.progress(), done, total);
    const Observation observation(_reader, progress);
    try
    {
        if (!_reader.loadRecord(_file.records()[record], delivery))
        {
            fail(record, contents, delivery, "cannot be read");
        }
    }
    catch (const InternalError& error)
    {
        fail(record, contents, delivery, error.message());
    }
    warn(record, contents, delivery);
    tsg::SceneGraph graph = takeAll(builder);
    warnOfVersionGaps(builder, _file.placeOf(record), _report);
    return graph;
}

void RecordLoader::fail(std::size_t record, const RecordContents& contents, Delivery& delivery,
                        const std::string& reason)
{
    const std::string words = delivery.lastWords();
    const std::string detail = shown(words.empty() ? reason : words);
    if (delivery.delivered() >= contents.blocks.size())
    {
        const bool known = !contents.fault.empty();
        throw Failure(TooDamaged, known ? _file.placeOf(record, contents.faultPosition) : _file.placeOf(record),
                      known ? contents.fault : detail);
    }
    const StoredBlock& block = contents.blocks[delivery.delivered()];
    const std::string fault = blockFault(_file.stream(), block, _file.size());
    throw Failure(TooDamaged, _file.placeOf(record, block.tagPosition),
                  describeBlock(block) + ": " + (fault.empty() ? detail : fault));
}

void RecordLoader::warn(std::size_t record, const RecordContents& contents, const Delivery& delivery)
{
    _file.reportFault(_report, record, contents);
    for (const Delivery::Complaint& complaint : delivery.complaints())
    {
        if (complaint.block < contents.blocks.size())
        {
            const StoredBlock& block = contents.blocks[complaint.block];
            _report.warning(_file.placeOf(record, block.tagPosition),
                            describeBlock(block) + ": " + shown(complaint.text));
        }
    }
}

} // namespace tavosce
