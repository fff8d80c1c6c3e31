#pragma once

#include "support/Scenes.h"

namespace reliability
{

/// A scene whose records carry a number, so that it can be told which of them a file has.
class Numbered
{
public:
    /// Writers of different processes have to name different sessions: the stamps of their data may be the same.
    explicit Numbered(std::string session)
        : _session(std::move(session))
    {
        _root.with(test::triangle()).with(_own).with(test::counting(VTK_DOUBLE, "shared", 50, 3));
    }

    static constexpr int THUMBNAIL_STEP = 3;

    /// Of each THUMBNAIL_STEP records the last one has a thumbnail.
    static bool hasThumbnail(int number) { return number % THUMBNAIL_STEP == THUMBNAIL_STEP - 1; }

    /// Adds a record, and its thumbnail if it has one. False if the writer does not acknowledge all of it.
    bool addTo(tsg::SDBWriter& writer, int number)
    {
        for (int i = 0; i < 3; ++i)
        {
            _own->SetComponent(i, 0, number + i);
        }
        _own->Modified();
        int index = -1;
        bool isAdded = writer.addRecord(titleOf(number), "", _session, _root, index) == tsg::io::FileIoStatus::Success;
        if (isAdded && hasThumbnail(number))
        {
            tsg::Bitmap<3> picture;
            picture.resize(60, 50);
            // Of braces, so that wherever a torn tag seems to end there is something like another one.
            std::fill_n(picture.getData(), picture.getSize(), static_cast<unsigned char>('{'));
            isAdded = writer.addThumbnail(index, picture) == tsg::io::FileIoStatus::Success;
        }
        return isAdded && !writer.hasFailed();
    }

    static std::string titleOf(int number) { return "record " + std::to_string(number); }

private:
    std::string _session;
    test::Scene _root;
    vtkSmartPointer<vtkDataArray> _own = test::floats("own", {0, 0, 0});
};

} // namespace reliability
