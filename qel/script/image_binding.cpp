#include <qel/imaging/pixels/image.h>

#include <qel/imaging/pixels/qr_code_generator.h>
#include <qel/script/class_binder.h>

#include <utility>

namespace qel {

namespace {

bool saveByExtension(Image& image, const char* path) {
    return image.saveTo(path);
}

Image* generateCode(const char* text, unsigned border) {
    return new Image(QRCodeGenerator::generate(text, border));
}

} // namespace

void Image::bindSqVM(qelSq::Object* cls) {
    using namespace qelSq;
    qel::Object::bindSqVM(cls);
    ClassBinder<Image>(cls)
        .staticFunction<&Image::getStaticClassName>("getClassName")
        .native("saveTo",
                &callEither<1, &callMethod<Image, &saveByExtension>, &callMethod<Image, &Image::saveTo>>,
                false)
        .method<&Image::asPngBase64EncodedString>("asPngBase64EncodedString")
        .method<&Image::asWebpBase64EncodedString>("asWebpBase64EncodedString");
}

void QRCodeGenerator::bindSqVM(qelSq::Object* cls) {
    qel::Object::bindSqVM(cls);
    qelSq::ClassBinder<QRCodeGenerator>(cls)
        .staticFunction<&QRCodeGenerator::getStaticClassName>("getClassName")
        .staticFunction<&generateCode>("generate");
}

} // namespace qel
