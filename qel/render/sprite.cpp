#include <qel/render/sprite.h>

#include <qel/foundation/base/weak_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/render/image_copy_p.h>
#include <qel/render/renderer.h>
#include <qel/render/texture.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>

#include <cstring>
#include <string>
#include <utility>

namespace qel {

namespace {

constexpr int kDataSeconds = 5;
constexpr int kTextureSeconds = 25;

/// Sets a flag until the end of a scope, also if an exception ends it.
class FlagScope {
public:
    explicit FlagScope(bool& flag) : m_flag(flag) { m_flag = true; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;
    ~FlagScope() { m_flag = false; }

private:
    bool& m_flag;
};

} // namespace

Sprite::Sprite(Kind kind) : m_kind(kind) {
    m_image.disableSmartPointers();
    listen();
}

/// Listens to the System, and gives up on a request to an earlier one, which does not answer any more.
void Sprite::listen() {
    if (m_system.get() == system()) return;
    m_system = system();
    m_asyncPending = false;
    system()->signalFreeCaches.connect(this, &Sprite::slotFreeCaches);
}

// The scheduler would keep the alarms until they fire.
Sprite::~Sprite() {
    removeWeakPointers();
    if (m_unloadAlarm) m_unloadAlarm->cancel();
    for (const auto& [size, texture] : m_textures) texture->getAlarm()->cancel();
}

SmartPointer<Sprite> Sprite::createFromExternal(FormatID format, const IVec2<int>& size, const uint8* data) {
    SmartPointer<Sprite> sprite = new Sprite(Kind::External);
    sprite->m_image.initialize(format, size);
    const size_t bytes = sprite->m_image.getByteSize();
    if (bytes > 0 && data != nullptr) std::memcpy(sprite->m_image.getBytePointer(), data, bytes);
    if (bytes > 0 && data == nullptr) std::memset(sprite->m_image.getBytePointer(), 0, bytes);
    sprite->takeImageSize();
    return sprite;
}

SmartPointer<Sprite> Sprite::createFromImage(const Image& image) {
    SmartPointer<Sprite> sprite = new Sprite(Kind::External);
    internal::copyPixels(sprite->m_image, image);
    sprite->takeImageSize();
    return sprite;
}

SmartPointer<Sprite> Sprite::createFromImageSwap(Image& image) {
    SmartPointer<Sprite> sprite = new Sprite(Kind::External);
    if (image.isExternal()) {
        internal::copyPixels(sprite->m_image, image);
        image.clear();
    } else {
        sprite->m_image.swap(image);
    }
    sprite->takeImageSize();
    return sprite;
}

SmartPointer<Sprite> Sprite::createInternal(FormatID format, const IVec2<int>& size) {
    SmartPointer<Sprite> sprite = createFromExternal(format, size, nullptr);
    sprite->m_kind = Kind::Internal;
    return sprite;
}

SmartPointer<Sprite> Sprite::createFromResource(const char* name) {
    SmartPointer<Sprite> sprite = new Sprite(Kind::Resource);
    sprite->m_resourceName = name != nullptr ? name : "";
    return sprite;
}

SmartPointer<Sprite> Sprite::createFromGlyph(const IVec2<unsigned>& descriptor, unsigned codepoint) {
    SmartPointer<Sprite> sprite = new Sprite(Kind::Glyph);
    sprite->m_descriptor = descriptor;
    sprite->m_codepoint = codepoint;
    return sprite;
}

SmartPointer<Sprite> Sprite::createFromLambda(std::function<void(Image&)> generator, const IVec2<int>& size) {
    SmartPointer<Sprite> sprite = new Sprite(Kind::Lambda);
    sprite->m_generator = std::move(generator);
    sprite->m_size = size;
    sprite->m_hasMeta = size != IVec2<int>();
    return sprite;
}

const IVec2<int>& Sprite::getSize() {
    if (!m_hasMeta) load();
    return m_size;
}

Image& Sprite::getImage() {
    if (!m_hasData) load();
    return m_image;
}

// --- pixels ---------------------------------------------------------------------------------------------

bool Sprite::isReloadable() const {
    return m_kind == Kind::Resource || m_kind == Kind::Glyph || m_kind == Kind::Lambda;
}

void Sprite::load() {
    listen();
    if (!isReloadable() || m_sourceInvalid || m_asyncPending || m_isLoading) return;
    const SmartPointer<Sprite> self(this); // a generator may release or invalidate the sprite
    keepData();
    if (m_hasData) return;
    const FlagScope loading(m_isLoading);
    obtainPixels();
    if (!isReloadable() || m_sourceInvalid) return m_image.free();
    if (m_asyncPending) return;
    processPixels();
    takeImageSize();
}

/// Restarts the time after which the pixels are dropped.
void Sprite::keepData() {
    if (!m_unloadAlarm) {
        m_unloadAlarm = new Alarm;
        m_unloadAlarm->trigger.connect(this, &Sprite::unload);
    }
    m_unloadAlarm->scheduleInSeconds(kDataSeconds);
}

void Sprite::obtainPixels() {
    if (m_kind == Kind::Resource) return loadResource();
    if (m_kind == Kind::Glyph)
        loadGlyph();
    else
        m_generator(m_image);
    if (!m_image.hasPixels()) m_sourceInvalid = true;
}

void Sprite::loadResource() {
    if (m_image.loadFromResource(m_resourceName.c_str())) return;
    const WeakPointer<Sprite> self(this);
    m_asyncPending = m_image.loadFromResourceAsync(m_resourceName.c_str(), [self] {
        if (Sprite* const sprite = self.get()) sprite->finishAsyncLoad();
    });
    if (!m_asyncPending) reportMissingResource();
}

void Sprite::reportMissingResource() {
    logging::error() << "can not load image file: " << m_resourceName;
    m_sourceInvalid = true;
}

void Sprite::finishAsyncLoad() {
    m_asyncPending = false;
    if (m_kind == Kind::Invalid) return m_image.free();
    if (!m_image.isInitialized()) return reportMissingResource();
    takeImageSize();
    // Nobody has used the pixels yet, and the time that load() started may be over.
    if (!m_unloadAlarm->isScheduled()) keepData();
}

void Sprite::loadGlyph() {
    if (system()->delegateRenderGlyph(m_descriptor, m_codepoint, m_image)) return;
    if (!m_isReported) logging::info() << "no glyph available for codepoint: " << m_codepoint;
    m_sourceInvalid = true;
}

void Sprite::processPixels() {
    Image processed;
    if (m_convertToFormat != UnknownFormat) {
        processed.initialize(m_convertToFormat, m_image.getSize());
        if (processed.convertFrom(m_image)) m_image.swap(processed);
        return;
    }
    if (processed.optimizeLosslessForTextureFrom(m_image)) m_image.swap(processed);
    if (m_convertIntensityToAlpha && processed.convertIntensityToAlphaFrom(m_image)) m_image.swap(processed);
    if (m_approxGammaCorrectAlpha) m_image.approxGammaCorrectAlpha();
}

void Sprite::takeImageSize() {
    m_size = m_image.isInitialized() ? m_image.getSize() : IVec2<int>();
    m_hasMeta = true;
    m_hasData = true;
}

void Sprite::unload() {
    if (!m_hasData || !isReloadable()) return;
    m_image.free();
    m_hasData = false;
    if (m_unloadAlarm) m_unloadAlarm->cancel();
}

// --- textures -------------------------------------------------------------------------------------------

Texture* Sprite::hasTexture(const IVec2<int>& size) {
    const auto found = m_textures.find(size);
    if (found == m_textures.end()) return nullptr;
    found->second->getAlarm()->scheduleInSeconds(kTextureSeconds);
    return found->second.get();
}

Texture* Sprite::getTexture(Renderer* renderer, const IVec2<int>& size) {
    if (renderer == nullptr || size.x < 1 || size.y < 1) return nullptr;
    const auto found = m_textures.find(size);
    if (found != m_textures.end() && found->second->getRenderer() == renderer) return hasTexture(size);
    load();
    if (!m_hasData || !m_image.hasPixels() || m_size.x < 1 || m_size.y < 1) return nullptr;
    const SmartPointer<Texture> texture = renderer->createTexture();
    uploadTo(*texture, size);
    texture->getAlarm()->trigger.connect(this, [this, size] { unloadTexture(size); });
    unloadTexture(size);
    m_textures[size] = texture;
    return hasTexture(size);
}

void Sprite::uploadTo(Texture& texture, const IVec2<int>& size) {
    Image resized;
    Image* source = &m_image;
    if (size != m_size && m_image.isResizable()) {
        resized.initialize(m_image.getImageFormat(), size);
        if (resized.isInitialized() && resized.resizeFrom(m_image)) source = &resized;
    }
    Image reduced;
    const bool mayReduce = m_convertToFormat == UnknownFormat && m_allowLossyConversion;
    if (mayReduce && reduced.optimizeLossyForTextureFrom(*source)) source = &reduced;
    if (source == &m_image)
        texture.upload(std::as_const(m_image), false);
    else
        texture.upload(std::move(*source), false);
}

void Sprite::unloadTexture(const IVec2<int>& size) {
    const auto found = m_textures.find(size);
    if (found == m_textures.end()) return;
    found->second->getAlarm()->cancel(); // it must not reach a later texture of this size
    m_textures.erase(found);
}

void Sprite::notifyImageChanged() {
    if (m_hasData) takeImageSize();
    while (!m_textures.empty()) unloadTexture(IVec2<int>(m_textures.begin()->first));
}

void Sprite::clearTextureCache() {
    unload();
    notifyImageChanged();
}

void Sprite::invalidate() {
    clearTextureCache();
    m_kind = Kind::Invalid;
    m_hasMeta = false;
    m_hasData = false;
    m_image.free();
}

void Sprite::slotFreeCaches() {
    if (!system()->isDeadlineExceededIn(0)) clearTextureCache();
}

// --- descriptions ---------------------------------------------------------------------------------------

std::string Sprite::kindWord() const {
    using std::to_string;
    switch (m_kind) {
    case Kind::External:
        return "external";
    case Kind::Resource:
        return "resource(name=" + m_resourceName + ")";
    case Kind::Glyph:
        return "glyph(descriptor=" + to_string(m_descriptor.x) + "," + to_string(m_descriptor.y) +
               ";codepoint=" + to_string(m_codepoint) + ")";
    case Kind::Lambda:
        return "lambda";
    case Kind::Internal:
        return "internal";
    case Kind::Invalid:
        break;
    }
    return "invalid";
}

String Sprite::asLogTag() const {
    using std::to_string;
    std::string tag = "[SPRITE:type=" + kindWord();
    if (m_hasMeta) tag += ";size=" + to_string(m_size.x) + "x" + to_string(m_size.y);
    if (m_hasData) tag += ";resident";
    if (!m_textures.empty()) tag += ";textures=" + to_string(m_textures.size());
    return tag + "] ";
}

} // namespace qel
