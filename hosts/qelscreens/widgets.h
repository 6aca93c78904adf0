// The widgets that the screens share with other hosts.
#pragma once

#include <hosts/widgets/button.h>
#include <hosts/widgets/card.h>
#include <hosts/widgets/look.h>

namespace qelscreens {

using qelwidgets::Button;
using qelwidgets::Card;
using qelwidgets::Color;
using qelwidgets::columnOf;
using qelwidgets::contains;
using qelwidgets::drawOutline;
using qelwidgets::drawRect;
using qelwidgets::inset;
using qelwidgets::Look;
using qelwidgets::measureText;
using qelwidgets::placeText;
using qelwidgets::restyleText;
using qelwidgets::styleColor;

} // namespace qelscreens
