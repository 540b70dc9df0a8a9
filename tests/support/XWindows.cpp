#include "support/XWindows.h"

#include <xcb/xcb.h>

#include <cstdlib>

int viewableTopLevels(const char* display)
{
    xcb_connection_t* c = xcb_connect(display, nullptr);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return -1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_query_tree_reply_t* tree = xcb_query_tree_reply(c, xcb_query_tree(c, root), nullptr);
    int count = 0;
    if (tree) {
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; i < xcb_query_tree_children_length(tree); ++i) {
            xcb_get_window_attributes_reply_t* a = xcb_get_window_attributes_reply(
                c, xcb_get_window_attributes(c, children[i]), nullptr);
            if (a && a->map_state == XCB_MAP_STATE_VIEWABLE)
                ++count;
            std::free(a);
        }
        std::free(tree);
    }
    xcb_disconnect(c);
    return count;
}
