#include <tests/support/late_provider.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <qel/plugins/resource_locator.h>
#include <qel/render/renderer_software.h>
#include <qel/render/sprite.h>
#include <qel/render/texture_software.h>

#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

namespace qel {
namespace {

/// Returns a PNG file of a red picture.
Buffer redPicture(const IVec2<int>& size) {
    Image image(RGB8, size);
    for (size_t i = 0; i < image.getByteSize(); ++i) image.getBytePointer()[i] = i % 3 == 0 ? 255 : 0;
    Buffer file;
    EXPECT_TRUE(image.saveToMemory(file, Image::Encoding::Png));
    return file;
}

class SpriteTest : public test::SystemFixture {
protected:
    /// Runs a pass in each of the next seconds.
    void passSeconds(int seconds) {
        for (int i = 0; i < seconds; ++i) passAfter(1024);
    }
    /// Adds a folder of resources with red pictures. @return its provider.
    ResourceProvider* addPictures(const test::ScratchFolder& folder, const std::vector<const char*>& names) {
        const Buffer file = redPicture({6, 4});
        for (const char* const name : names)
            folder.write(name, {reinterpret_cast<const char*>(file.getBytePointer()), file.getSize()});
        return system().getResourceLocator()->addResourceDirectory(folder.path());
    }
    /// Adds a provider that answers late.
    SmartPointer<test::LateProvider> addLateProvider() {
        SmartPointer<test::LateProvider> provider = new test::LateProvider;
        system().getResourceLocator()->addResourceProvider(provider.get());
        return provider;
    }
    /// Creates a sprite of 8 by 8 grey pixels and counts how often it is drawn.
    SmartPointer<Sprite> makeSprite() {
        return Sprite::createFromLambda([this](Image& image) {
            ++generated;
            image.initialize(L8, {8, 8});
            std::memset(image.getBytePointer(), 100, 64);
        });
    }

    int generated = 0;
    RendererSoftware renderer;
};

TEST_F(SpriteTest, GivenPixelsStay) {
    const uint8 pixels[] = {1, 2, 3, 4, 5, 6};
    const SmartPointer<Sprite> sprite = Sprite::createFromExternal(RGB8, {2, 1}, pixels);
    EXPECT_EQ(sprite->getSize(), IVec2<int>(2, 1));
    EXPECT_EQ(sprite->getData()[5], 6);
    EXPECT_NE(sprite->getTexture(&renderer, {2, 1}), nullptr);
    sprite->getData()[0] = 9;
    sprite->notifyImageChanged();
    EXPECT_EQ(sprite->hasTexture({2, 1}), nullptr);
    EXPECT_EQ(sprite->getData()[0], 9);
    EXPECT_NE(sprite->getTexture(&renderer, {2, 1}), nullptr);
}

TEST_F(SpriteTest, MissingAndImpossiblePixelsAreSafe) {
    test::LogCapture log;
    EXPECT_EQ(Sprite::createInternal(L8, {4, 4})->getData()[15], 0);
    EXPECT_EQ(Sprite::createFromExternal(L8, {2, 2}, nullptr)->getData()[3], 0);
    const uint8 pixel = 1;
    for (const IVec2<int>& size : {IVec2<int>(-1, 3), IVec2<int>(0, 5)})
        EXPECT_EQ(Sprite::createFromExternal(L8, size, &pixel)->getTexture(&renderer, {8, 8}), nullptr);
    EXPECT_EQ(log.take().size(), 1u) << "the negative size";
}

TEST_F(SpriteTest, AnImageIsCopiedOrSwapped) {
    std::vector<uint8> memory{1, 2, 3, 4};
    for (const bool swaps : {false, true}) {
        Image external;
        external.initializeFromExtern(L8, {2, 2}, {{memory.data(), memory.size()}}, {2}, {});
        const SmartPointer<Sprite> sprite =
            swaps ? Sprite::createFromImageSwap(external) : Sprite::createFromImage(external);
        EXPECT_FALSE(sprite->getImage().isExternal());
        EXPECT_EQ(sprite->getData()[3], 4);
        EXPECT_EQ(external.isInitialized(), !swaps);
    }
}

TEST_F(SpriteTest, PixelsAreLoadedWhenTheyAreNeeded) {
    const SmartPointer<Sprite> sprite = makeSprite();
    EXPECT_FALSE(sprite->hasMetaData());
    EXPECT_EQ(sprite->getSize(), IVec2<int>(8, 8));
    EXPECT_EQ(generated, 1);
    passSeconds(7);
    EXPECT_FALSE(sprite->hasImageData()) << "dropped after 5 seconds";
    EXPECT_EQ(sprite->getSize(), IVec2<int>(8, 8));
    EXPECT_EQ(generated, 1) << "the size is known without loading";
    for (int i = 0; i < 4; ++i) {
        sprite->preloadData(); // which keeps the pixels for five more seconds
        passSeconds(4);
    }
    EXPECT_EQ(generated, 2);
}

TEST_F(SpriteTest, TexturesExpireTwentyFiveSecondsAfterTheirLastUse) {
    const SmartPointer<Sprite> sprite = makeSprite();
    const SmartPointer<Texture> held = sprite->getTexture(&renderer, {8, 8});
    EXPECT_EQ(sprite->getTexture(&renderer, {8, 8}), held.get());
    EXPECT_EQ(sprite->hasTexture({4, 4}), nullptr);
    passSeconds(20);
    sprite->notifyImageChanged();
    sprite->getTexture(&renderer, {8, 8}); // another texture with its own time
    passSeconds(24);
    EXPECT_NE(sprite->hasTexture({8, 8}), nullptr);
    passSeconds(24);
    EXPECT_EQ(sprite->asLogTag(), "[SPRITE:type=lambda;size=8x8;textures=1] ");
    passSeconds(3);
    EXPECT_EQ(sprite->asLogTag(), "[SPRITE:type=lambda;size=8x8] ");
}

TEST_F(SpriteTest, ATextureIsResizedFromThePicture) {
    const SmartPointer<Sprite> sprite = makeSprite();
    EXPECT_EQ(sprite->getTexture(&renderer, {3, 20})->getSize(), IVec2<int>(3, 20));
    EXPECT_EQ(sprite->getSize(), IVec2<int>(8, 8));
    const SmartPointer<Sprite> packed = Sprite::createInternal(RGB565, {8, 8});
    EXPECT_EQ(packed->getTexture(&renderer, {4, 4})->getSize(), IVec2<int>(8, 8)) << "cannot be resized";
}

TEST_F(SpriteTest, TexturesMayLosePrecision) {
    const uint8 pixels[] = {200, 10, 10, 10, 200, 10};
    const SmartPointer<Sprite> sprite = Sprite::createFromExternal(RGB8, {2, 1}, pixels);
    EXPECT_EQ(sprite->getTexture(&renderer, {2, 1})->getFormat(), RGB565);
    sprite->notifyImageChanged();
    sprite->setAllowLossyConversion(false);
    EXPECT_EQ(sprite->getTexture(&renderer, {2, 1})->getFormat(), RGB8);
}

TEST_F(SpriteTest, ATextureBelongsToTheRendererThatAsks) {
    const SmartPointer<Sprite> sprite = makeSprite();
    auto other = std::make_unique<RendererSoftware>();
    EXPECT_EQ(sprite->getTexture(other.get(), {8, 8})->getRenderer(), other.get());
    EXPECT_EQ(sprite->getTexture(&renderer, {8, 8})->getRenderer(), &renderer);
    EXPECT_EQ(sprite->getTexture(other.get(), {8, 8})->getRenderer(), other.get());
    other.reset();
    EXPECT_EQ(sprite->getTexture(&renderer, {8, 8})->getRenderer(), &renderer);
    for (const IVec2<int>& size : {IVec2<int>(0, 5), IVec2<int>(5, -1)})
        EXPECT_EQ(sprite->getTexture(&renderer, size), nullptr);
    EXPECT_EQ(sprite->getTexture(nullptr, {8, 8}), nullptr);
}

TEST_F(SpriteTest, FreeingCachesSparesAFrameThatIsLate) {
    const SmartPointer<Sprite> sprite = makeSprite();
    sprite->getTexture(&renderer, {8, 8});
    system().setDeadlineIn(5);
    clock.advanceMs(10);
    system().signalFreeCaches();
    EXPECT_NE(sprite->hasTexture({8, 8}), nullptr);
    system().clearDeadline();
    system().signalFreeCaches();
    EXPECT_EQ(sprite->hasTexture({8, 8}), nullptr);
    EXPECT_FALSE(sprite->hasImageData());
}

TEST_F(SpriteTest, AGlyphThatDoesNotExistIsReportedOnceAndLeavesTheCache) {
    int requests = 0;
    system().delegateRenderGlyph.connect([&](const IVec2<unsigned>&, unsigned codePoint, Image& image) {
        requests += codePoint == 65;
        image.initialize(A8, {1, 1});
        return codePoint == 67;
    });
    test::LogCapture log;
    const SmartPointer<Sprite> present = system().getSprite(IVec2<unsigned>(3, 4), 67);
    const SmartPointer<Sprite> missing = system().getSprite(IVec2<unsigned>(3, 4), 65);
    EXPECT_EQ(system().getSprite(IVec2<unsigned>(3, 4), 65), missing.get());
    EXPECT_EQ(missing->asLogTag(), "[SPRITE:type=glyph(descriptor=3,4;codepoint=65)] ");
    present->preloadData();
    missing->preloadData();
    missing->preloadData();
    EXPECT_EQ(requests, 1);
    EXPECT_FALSE(missing->isSourceValid());
    system().getSprite(IVec2<unsigned>(3, 4), 66);
    EXPECT_EQ(missing->getReferenceCount(), 1);
    EXPECT_EQ(system().getSprite(IVec2<unsigned>(3, 4), 67), present.get());
    system().getSprite(IVec2<unsigned>(3, 4), 65)->preloadData();
    EXPECT_EQ(requests, 2) << "a new sprite asks the host again";
    log.expect(1, "no glyph available for codepoint: 65");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(SpriteTest, AMissingGlyphLeavesNothingToTheNextOne) {
    const IVec2<unsigned> font(3, 4);
    system().delegateRenderGlyph.connect([](const IVec2<unsigned>&, unsigned codePoint, Image& image) {
        image.initialize(L8, {static_cast<int>(codePoint - 64), 1});
        return codePoint > 66;
    });
    test::LogCapture log;
    const WeakPointer<Sprite> missing(system().getSprite(font, 65));
    missing->setConvertIntensityToAlpha(true);
    missing->preloadData();
    const SmartPointer<Sprite> present = system().getSprite(font, 67);
    EXPECT_EQ(missing.get(), nullptr);
    EXPECT_EQ(present->getSize(), IVec2<int>(3, 1));
    EXPECT_EQ(present->getImage().getImageFormat(), L8);
    log.expect(1, "no glyph available for codepoint: 65");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(SpriteTest, AGeneratorMayInvalidateAndReleaseItsSprite) {
    SmartPointer<Sprite> sprite;
    sprite = Sprite::createFromLambda([&sprite](Image& image) {
        image.initialize(L8, {1, 1});
        EXPECT_EQ(&sprite->getImage(), &image);
        sprite->invalidate();
        image.initialize(L8, {2, 2});
    });
    EXPECT_FALSE(sprite->getImage().isInitialized());
    sprite = Sprite::createFromLambda([&sprite](Image& image) {
        image.initialize(L8, {1, 1});
        sprite.reset();
    });
    sprite->preloadData();
    EXPECT_FALSE(sprite);
}

// --- resources ------------------------------------------------------------------------------------------

TEST_F(SpriteTest, AResourceIsLoadedOnceAndReloadedOnDemand) {
    const test::ScratchFolder folder;
    addPictures(folder, {"a.png"});
    Sprite* const sprite = system().getSprite("a.png");
    EXPECT_EQ(system().getSprite("a.png"), sprite);
    EXPECT_EQ(sprite->getSize(), IVec2<int>(6, 4));
    EXPECT_EQ(sprite->getImage().getImageFormat(), RGB8) << "opaque";
    passSeconds(7);
    EXPECT_EQ(sprite->asLogTag(), "[SPRITE:type=resource(name=a.png);size=6x4] ");
    EXPECT_EQ(sprite->getData()[0], 255);
}

TEST_F(SpriteTest, ASpriteByLanguagePrefersTheVariant) {
    const test::ScratchFolder folder;
    addPictures(folder, {"a.png", "a.de.png", "b.png", "x.y/c", "x.y/c.de"});
    const auto found = [this](const char* name) { return system().getSpriteByLanguage(name, "de"); };
    EXPECT_EQ(found("a.png"), system().getSprite("a.de.png"));
    EXPECT_EQ(found("b.png"), system().getSprite("b.png"));
    EXPECT_EQ(found("x.y/c"), system().getSprite("x.y/c.de"));
}

TEST_F(SpriteTest, RemovingAProviderClearsTheCache) {
    const test::ScratchFolder folder;
    ResourceProvider* const provider = addPictures(folder, {"a.png"});
    const SmartPointer<Sprite> held = system().getSprite("a.png");
    held->getTexture(&renderer, {6, 4});
    system().getResourceLocator()->removeResourceProvider(provider);
    EXPECT_NE(system().getSprite("a.png"), held.get());
    EXPECT_EQ(held->asLogTag(), "[SPRITE:type=resource(name=a.png);size=6x4] ");
}

TEST_F(SpriteTest, ALatePictureHasNoTextureUntilItArrives) {
    const SmartPointer<test::LateProvider> provider = addLateProvider();
    Sprite* const sprite = system().getSprite("late.png");
    EXPECT_EQ(sprite->getTexture(&renderer, {6, 4}), nullptr);
    EXPECT_FALSE(sprite->getImage().isInitialized());
    provider->answer(redPicture({6, 4}));
    passAfter(16);
    EXPECT_EQ(sprite->getImage().getImageFormat(), RGBA8) << "late pictures are not processed";
    EXPECT_NE(sprite->getTexture(&renderer, {6, 4}), nullptr);
    passSeconds(7);
    EXPECT_FALSE(sprite->hasImageData());
}

TEST_F(SpriteTest, ALatePictureMayMissItsSprite) {
    const SmartPointer<test::LateProvider> provider = addLateProvider();
    const SmartPointer<Sprite> sprite = system().getSprite("late.png");
    sprite->preloadData();
    sprite->invalidate();
    provider->answer(redPicture({6, 4}));
    passAfter(16);
    EXPECT_FALSE(sprite->getImage().isInitialized());
    system().getSprite("other.png")->preloadData();
    system().clearSpriteCache();
    provider->answer(redPicture({6, 4}));
    passAfter(16);
}

TEST_F(SpriteTest, AMissingOrBrokenPictureIsReportedOnce) {
    test::LogCapture log;
    Sprite* const missing = system().getSprite("missing.png");
    missing->preloadData();
    missing->preloadData();
    log.expect(3, "can not load image file: missing.png");
    const SmartPointer<test::LateProvider> provider = addLateProvider();
    Sprite* const late = system().getSprite("late.png");
    late->preloadData();
    provider->answer(Buffer());
    testing::internal::CaptureStdout(); // the decoder reports there
    passAfter(16);
    testing::internal::GetCapturedStdout();
    late->preloadData();
    log.expect(3, "can not load image file: late.png");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(SpriteTest, ConversionsHappenAtLoad) {
    for (const FormatID expected : {RGB8, A8}) {
        const SmartPointer<Sprite> sprite = Sprite::createFromLambda([](Image& image) {
            image.initialize(RGBA8, {2, 1});
            std::iota(image.getBytePointer(), image.getBytePointer() + 8, uint8{1});
        });
        if (expected == A8)
            sprite->setConvertIntensityToAlpha(true);
        else
            sprite->setConvertToFormat(expected);
        EXPECT_EQ(sprite->getImage().getImageFormat(), expected);
    }
}

/// Notes whether the System still had its queues when the target of a weak pointer died.
class DeathWitness : public PointerOwner {
public:
    void onWeakPointerCleared(void*) override {
        hadQueues = internal::g_system->getGlobalMainQueue() != nullptr;
    }
    bool hadQueues = false;
};

TEST_F(SpriteTest, CachedSpritesDieBeforeTheQueues) {
    DeathWitness witness;
    WeakPointer<Sprite> sprite(system().getSprite("a.png"));
    sprite.setOwner(&witness);
    System::deinitialize();
    EXPECT_TRUE(witness.hadQueues);
}

TEST_F(SpriteTest, AKeptSpriteListensToTheNextSystem) {
    const SmartPointer<Sprite> sprite = makeSprite();
    System::deinitialize();
    System::initialize({});
    sprite->preloadTexture(&renderer, {8, 8});
    system().signalFreeCaches();
    EXPECT_FALSE(sprite->hasImageData());
    EXPECT_EQ(sprite->hasTexture({8, 8}), nullptr);
}

TEST_F(SpriteTest, AKeptSpriteRequestsItsPictureAgain) {
    const SmartPointer<test::LateProvider> provider = addLateProvider();
    const SmartPointer<Sprite> sprite = system().getSprite("late.png");
    sprite->preloadData();
    provider->answer = nullptr;
    System::deinitialize();
    System::initialize({});
    system().getResourceLocator()->addResourceProvider(provider.get());
    sprite->preloadData();
    ASSERT_TRUE(provider->answer);
    provider->answer(redPicture({6, 4}));
    passAfter(16);
    EXPECT_EQ(sprite->getSize(), IVec2<int>(6, 4));
}

// --- prefetch -------------------------------------------------------------------------------------------

TEST_F(SpriteTest, APrefetchLoadsInOnePassAndMakesTheTextureInTheNext) {
    const SmartPointer<Sprite> sprite = makeSprite();
    int uploads = 0;
    system().delegateBeforeSpriteUpload.connect([&] { ++uploads; });
    system().prefetchSprite(sprite.get(), &renderer, {8, 8});
    EXPECT_FALSE(sprite->hasImageData());
    passAfter(16);
    EXPECT_TRUE(sprite->hasImageData());
    EXPECT_EQ(sprite->hasTexture({8, 8}), nullptr);
    passAfter(16);
    EXPECT_NE(sprite->hasTexture({8, 8}), nullptr);
    EXPECT_EQ(uploads, 1);
}

TEST_F(SpriteTest, TheUploadHookMayDestroyTheRenderer) {
    const SmartPointer<Sprite> sprite = makeSprite();
    auto dying = std::make_unique<RendererSoftware>();
    system().delegateBeforeSpriteUpload.connect([&] { dying.reset(); });
    system().prefetchSprite(sprite.get(), dying.get(), {8, 8});
    for (int i = 0; i < 3; ++i) passAfter(16);
    EXPECT_FALSE(dying);
    EXPECT_EQ(sprite->hasTexture({8, 8}), nullptr);
}

} // namespace
} // namespace qel
