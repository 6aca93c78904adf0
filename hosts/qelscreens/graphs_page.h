// GraphsPage: graphs, bubbles and free forms.
#pragma once

#include "page.h"

namespace qelscreens {

/// Shows a graph with two curves, both bubbles, ring segments and lines.
class GraphsPage : public Page {
    QEL_CLASS(GraphsPage, Page)

public:
    GraphsPage();
};

} // namespace qelscreens
