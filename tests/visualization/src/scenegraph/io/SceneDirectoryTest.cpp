#include "support/SceneDirectories.h"
#include "support/TouchEverything.h"

#include <vtkFloatArray.h>
#include <vtkSOADataArrayTemplate.h>

namespace
{

using namespace test;

TEST_F(SceneDirectoryTest, roomThatAnArrayDoesNotUseComesBackAsZeros)
{
    const auto spare = vtkSmartPointer<vtkFloatArray>::New();
    spare->SetName("spare");
    spare->SetNumberOfComponents(2);
    float* const memory = spare->WritePointer(0, 100000);
    std::fill(memory, memory + 100000, 7.0F);
    spare->SetNumberOfTuples(2); // keeps the rest
    spare->InsertNextValue(7);   // half a tuple
    const auto apart = vtkSmartPointer<vtkSOADataArrayTemplate<double>>::New();
    apart->SetName("apart");
    apart->SetNumberOfComponents(2);
    apart->SetNumberOfTuples(1);
    apart->SetTuple2(0, 1, 2);
    Scene scene;
    ASSERT_TRUE(save(scene.with(spare.Get()).with(apart.Get())) && load());
    const std::string bytes = bytesOfFile("tsg/SceneNode_1.spare.dataArray");
    const Properties header(bytes.substr(0, bytes.find('\n')));
    EXPECT_EQ(header.getInt("NumberOfTuples"), 2);
    EXPECT_EQ(header.getInt("Size"), spare->GetSize());
    ASSERT_GE(spare->GetSize(), 100000);
    EXPECT_EQ(bytes.size(), bytes.find('\n') + 1 + static_cast<std::size_t>(spare->GetSize()) * sizeof(float));
    std::vector<double> values = valuesOf(stream.arrays["point SceneNode_1/spare"]);
    ASSERT_EQ(values.size(), static_cast<std::size_t>(spare->GetSize()));
    EXPECT_THAT(std::vector(values.begin(), values.begin() + 6), ElementsAre(7, 7, 7, 7, 0, 0));
    EXPECT_EQ(std::count(values.begin(), values.end(), 0.0), spare->GetSize() - 4);
    EXPECT_THAT(valuesOf(stream.arrays["point SceneNode_1/apart"]), ElementsAre(1, 2));
}

TEST_F(SceneDirectoryTest, damagedFilesLeaveTheOthersReadable)
{
    Scene scene;
    scene.setName("view");
    const auto mesh = triangle();
    mesh->GetPointData()->SetScalars(floats("s", {1, 2, 3}));
    scene.with(mesh).with(floats("a", {1, 2}));
    ASSERT_TRUE(save(scene));
    const std::string names[] = {"scene.tsg", "tsg/SceneNode_1.a.dataArray", "tsg/SceneNode_1.polyData"};
    const std::string calls[] = {"node SceneNode_1", "point SceneNode_1/a", "polys SceneNode_1"};
    for (const std::string& name : names)
    {
        const std::string whole = bytesOfFile(name);
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        for (std::size_t i = 0; i < 2 * whole.size(); ++i)
        {
            // First the file cut at every byte, then with every byte another one.
            std::string damaged = whole.substr(0, i < whole.size() ? i : whole.size());
            if (i >= whole.size())
            {
                damaged[i - whole.size()] = static_cast<char>(whole[i - whole.size()] ^ 0x11);
            }
            writeFile(name, damaged);
            stream.calls.clear();
            stream.polys.clear();
            EXPECT_TRUE(load());
            for (std::size_t file = 0; file < std::size(names); ++file)
            {
                EXPECT_TRUE(names[file] == name || Matches(Contains(calls[file]))(stream.calls)) << name << " " << i;
            }
            for (const auto& polys : stream.polys)
            {
                touchEverything(*polys.second);
            }
        }
        (void)testing::internal::GetCapturedStdout(); // says of nearly each that it can't be loaded
        (void)testing::internal::GetCapturedStderr();
        writeFile(name, whole);
    }
    EXPECT_TRUE(load());
    EXPECT_THAT(stream.calls, IsSupersetOf(calls));
}

} // namespace
