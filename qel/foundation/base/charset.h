// The character repertoires of imaging data.
#pragma once

namespace qel {

/// A character repertoire of imaging data, converted by String::utf8_convert_from_charset() and
/// utf8_convert_to_charset(). Ids that are not listed are unknown. Repertoires that are switched to by ISO
/// 2022 escape sequences are converted without the sequences, in the encoding that holds the whole
/// repertoire:
///
/// | Id     | Repertoire                          | Encoding                       | Locale       |
/// |--------|-------------------------------------|--------------------------------|--------------|
/// | 0      | Unicode                             | UTF-8                          | C            |
/// | 1      | Latin-1, western Europe             | ISO 8859-1                     | C            |
/// | 2      | Latin-2, central Europe             | ISO 8859-2                     | cs_CZ        |
/// | 3      | Latin-3, southern Europe            | ISO 8859-3                     | tr_TR        |
/// | 4      | Latin-4, northern Europe            | ISO 8859-4                     | lt_LT        |
/// | 5      | Cyrillic                            | ISO 8859-5                     | ru_RU        |
/// | 6      | Arabic                              | ISO 8859-6                     | ar_AE        |
/// | 7      | Greek                               | ISO 8859-7                     | el_GR        |
/// | 8      | Hebrew                              | ISO 8859-8                     | he_IL        |
/// | 9      | Latin-5, Turkish                    | ISO 8859-9                     | tr_TR        |
/// | 17     | Thai                                | TIS-620                        | th_TH        |
/// | 18     | Japanese, JIS X 0201                | Shift JIS as code page 932     | ja_JP        |
/// | 19, 20 | Japanese, JIS X 0208 and JIS X 0212 | EUC-JP                         | ja_JP        |
/// | 21, 22 | Chinese, GB 2312 and GB 18030       | GB 18030, a superset of both   | zh_CN        |
/// | 23     | Chinese, GBK                        | GBK                            | zh_CN        |
/// | 24     | Korean, KS X 1001                   | UHC, a superset of EUC-KR      | ko_KR        |
enum class Charset : int {
    Utf8 = 0,            ///< Unicode as UTF-8.
    Latin1 = 1,          ///< Western Europe.
    Latin2 = 2,          ///< Central Europe.
    Latin3 = 3,          ///< Southern Europe.
    Latin4 = 4,          ///< Northern Europe.
    Cyrillic = 5,        ///< Cyrillic.
    Arabic = 6,          ///< Arabic.
    Greek = 7,           ///< Greek.
    Hebrew = 8,          ///< Hebrew.
    Latin5 = 9,          ///< Turkish.
    Thai = 17,           ///< Thai.
    JapaneseX0201 = 18,  ///< Half-width katakana, and the kanji of Shift JIS.
    JapaneseX0208 = 19,  ///< Kanji.
    JapaneseX0212 = 20,  ///< Supplementary kanji.
    ChineseGB2312 = 21,  ///< Simplified Chinese, the basic set.
    ChineseGB18030 = 22, ///< Chinese, all of Unicode.
    ChineseGBK = 23,     ///< Chinese, the extended set.
    Korean = 24,         ///< Korean.
};

} // namespace qel
