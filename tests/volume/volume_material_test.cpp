#include <qel/volume/volume_material.h>

#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/volume/noting_volume.h>

#include <qel/imaging/pixels/image.h>
#include <qel/store/core/item.h>
#include <qel/volume/volume_actor.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cfloat>
#include <string>
#include <utility>

namespace qel {
namespace {

using Json = nlohmann::json;
using Colors = Curve<IVec3<float>>;

VolumeMaterial sample() {
    VolumeMaterial material;
    material.setName("bone").setModalityFilter("CT");
    material.setColorCurve({{0, {1, 0, 0}}, {100, {0, 0, 1}}});
    material.setOpacityCurve({{0, 0}, {50, 1}});
    return material;
}

Json sampleJson() {
    return Json::parse(R"([{"name": "bone", "modality_filter": "CT",
        "color": [{"offset": 0, "value": [1, 0.5, 0]}, {"offset": 100, "value": [0, 0, 1]}],
        "opacity": [{"offset": -1.5, "value": 0}, {"offset": 50, "value": 1}],
        "gradient": []}])");
}

class VolumeMaterialTest : public ::testing::Test {
protected:
    test::VolumeRenderer renderer;
    Texture* lookup = nullptr;
    Texture* preintegration = nullptr;
};

TEST_F(VolumeMaterialTest, BuildNeedsColourAndOpacity) {
    VolumeMaterial material;
    EXPECT_FALSE(material.build(16, &renderer));
    material.setColorCurve({{0, {}}});
    EXPECT_FALSE(material.isValid());
    material.setOpacityCurve({{0, 1}});
    EXPECT_TRUE(material.isValid());
    EXPECT_TRUE(material.build(16, &renderer));
    test::LogCapture log;
    EXPECT_FALSE(sample().build(16, nullptr));
    log.expect(3, "volume material needs a renderer");
}

TEST_F(VolumeMaterialTest, BuildCreatesTables) {
    VolumeMaterial material = sample();
    EXPECT_FALSE(material.getColorAlphaTextures(lookup, preintegration));
    ASSERT_TRUE(material.build(101, &renderer));
    ASSERT_TRUE(material.getColorAlphaTextures(lookup, preintegration));
    EXPECT_EQ(lookup->getSize(), IVec2<int>(101, 1));
    EXPECT_EQ(preintegration->getSize(), IVec2<int>(101, 101));
    const Image& table = static_cast<TextureSoftware*>(lookup)->getImage();
    const uint8* const pixel = table.getBytePointer() + 25 * 4;
    EXPECT_EQ(pixel[0], 191);
    EXPECT_EQ(pixel[2], 64);
    EXPECT_EQ(pixel[3], 128);
    EXPECT_FLOAT_EQ(material.getLookupScaleBias().x, 100.0f / 101 / 100);
    EXPECT_FALSE(material.getGradientTextures(lookup, preintegration));
}

TEST_F(VolumeMaterialTest, BuildReplacesTexturesOnlyAfterAChange) {
    VolumeMaterial material = sample();
    material.build(4, &renderer);
    material.getColorAlphaTextures(lookup, preintegration);
    const SmartPointer<Texture> held(lookup);
    material.build(8, &renderer);
    material.getColorAlphaTextures(lookup, preintegration);
    EXPECT_EQ(lookup, held.get());
    material.setOpacityCurve({{0, 1}});
    material.build(8, &renderer);
    material.getColorAlphaTextures(lookup, preintegration);
    EXPECT_NE(lookup, held.get());
    EXPECT_EQ(held->getSize().x, 4) << "whoever holds the old one keeps it";
}

TEST_F(VolumeMaterialTest, TheNumberOfStepsIsLimited) {
    for (const auto& [steps, width] : {std::pair(1, 2), {0, 2}, {-7, 2}, {100, 64}, {1 << 30, 64}}) {
        struct SmallRenderer : test::VolumeRenderer {
            IVec2<int> getMaximumTextureSize() override { return {4096, 64}; }
        } small;
        VolumeMaterial material = sample();
        EXPECT_TRUE(material.build(steps, &small));
        ASSERT_TRUE(material.getColorAlphaTextures(lookup, preintegration));
        EXPECT_EQ(lookup->getSize(), IVec2<int>(width, 1)) << steps;
    }
}

TEST_F(VolumeMaterialTest, ReadsJson) {
    const Vector<VolumeMaterial> list = VolumeMaterial::fromJSON(sampleJson());
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].getName(), "bone");
    EXPECT_EQ(list[0].getModalityFilter(), "CT");
    EXPECT_EQ(list[0].getColorCurve(), (Colors{{0, {1, 0.5f, 0}}, {100, {0, 0, 1}}}));
    EXPECT_EQ(list[0].getOpacityCurve(), (Curve<float>{{-1.5f, 0}, {50, 1}}));
    EXPECT_TRUE(list[0].getGradientCurve().empty());
    EXPECT_EQ(VolumeMaterial::fromJSON(String(test::documentedText("volume/materials"))).size(), 1u);
}

TEST_F(VolumeMaterialTest, SkipsKeysOfJsonThatCannotBeUsed) {
    test::LogCapture log;
    Json json = sampleJson();
    json[0]["color"][0]["value"] = {1, 1, 1, 1};
    json[0]["opacity"] = Json::parse(R"([{"offset": 1, "value": 0.25}, {"offset": 1, "value": 0.5},
        {"offset": 1e39, "value": 1}, {"offset": -1e300, "value": 1}])");
    const Vector<VolumeMaterial> list = VolumeMaterial::fromJSON(json);
    log.expect(2, "Invalid color value size: 4");
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].getColorCurve(), (Colors{{100, {0, 0, 1}}}));
    EXPECT_EQ(list[0].getOpacityCurve(), (Curve<float>{{1, 0.5f}})) << "the later of two equal keys counts";
}

TEST_F(VolumeMaterialTest, AnyOtherJsonFails) {
    Vector<std::string> texts{
        "", "{}", "1", "[1]", "[", "[{}]", std::string(600, '[') + std::string(600, ']')};
    const auto with = [&](const char* pointer, const Json& value) {
        Json json = sampleJson();
        json.push_back(json[0]);
        json[Json::json_pointer(pointer)] = value;
        texts.push_back(json.dump());
    };
    for (const char* const key : {"name", "modality_filter", "color", "opacity", "gradient"}) {
        Json json = sampleJson();
        json[0].erase(key);
        texts.push_back(json.dump());
        with((std::string("/1/") + key).c_str(), true);
    }
    with("/1/opacity/0/offset", nullptr);
    with("/1/color/0/value/1", "x");
    with("/1/gradient", {{{"offset", 1}}});
    for (const std::string& text : texts) {
        test::LogCapture log;
        EXPECT_TRUE(VolumeMaterial::fromJSON(String(text)).empty()) << text;
        log.expect(1, "Volume material parser failed");
    }
    EXPECT_TRUE(VolumeMaterial::fromJSON(Json::array()).empty()) << "an empty list is no failure";
}

TEST_F(VolumeMaterialTest, TheItemContainsDoublesAndIsReadBack) {
    Item expected;
    expected.addString("bone").addString("CT");
    expected.add(Item().add(0.0).add(1.0).add(0.0).add(0.0).add(100.0).add(0.0).add(0.0).add(1.0));
    expected.add(Item().add(0.0).add(0.0).add(50.0).add(1.0)).add(Item());
    EXPECT_EQ(sample().toItem().getBase16(), expected.getBase16());
    VolumeMaterial cut = sample();
    cut.setName(String(std::string("bone\0x", 6)));
    EXPECT_EQ(cut.toItem().getBase16(), expected.getBase16()) << "a name ends at a zero byte";
    cut.setGradientCurve({{0.1f, 0.2f}});
    EXPECT_EQ(VolumeMaterial::fromItem(cut.toItem()).toItem().getBase16(), cut.toItem().getBase16());
}

TEST_F(VolumeMaterialTest, IncompleteItemsHaveNoCurves) {
    const Item curve = Item().add(1.0).add(2.0);
    for (const Item& item : {Item(), Item("a").add("b").add(curve).add(curve)}) {
        test::LogCapture log;
        const VolumeMaterial material = VolumeMaterial::fromItem(item);
        log.expect(2, "Could not deserialize volume material");
        EXPECT_TRUE(material.getOpacityCurve().empty()) << item.getBase16();
    }
}

TEST_F(VolumeMaterialTest, CurvesOfAnItemEndBeforeOtherElements) {
    const std::pair<Item, Curve<float>> cases[] = {
        {Item().add(1).add(2.5).add(3.0).add(4), {{1, 2.5f}, {3, 4}}},
        {Item().add(1).add(2).add(3), {{1, 2}}},
        {Item().add(1).add(2).add("3").add(4), {{1, 2}}},
        {Item().add(1).add(2).add(1).add(3), {{1, 3}}},
        {Item().add(1e300).add(2).add(DBL_MAX * 2).add(3).add(5).add(6), {{5, 6}}},
    };
    for (const auto& [opacity, expected] : cases) {
        const Item item = Item("a").add("b").add(Item()).add(opacity).add(Item());
        EXPECT_EQ(VolumeMaterial::fromItem(item).getOpacityCurve(), expected);
    }
}

TEST_F(VolumeMaterialTest, AnActorTakesTheTables) {
    VolumeMaterial material = sample();
    VolumeActor actor;
    VolumeMaterial invalid;
    EXPECT_FALSE(actor.setVolumeMaterial(invalid));
    material.setGradientCurve({{0, 1}});
    material.build(4, &renderer);
    EXPECT_TRUE(actor.setVolumeMaterial(material));
    EXPECT_EQ(actor.getLookupScaleBias(), material.getLookupScaleBias());
    material.getColorAlphaTextures(lookup, preintegration);
    EXPECT_EQ(actor.getColorAlphaLookupTexture(), lookup);
    EXPECT_EQ(actor.getColorAlphaPreintegrationTexture(), preintegration);
}

} // namespace
} // namespace qel
