#pragma once

/// The picture of the installer's icon: a dark red globe in wire frame on the grey of the desktop,
/// lit from the upper left. It is an image in memory in the XPM format, 48 by 48 pixels, 4 colours,
/// 1 character per pixel, as XpmCreatePixmapFromData reads it once const is cast away (the library
/// takes a char** but changes nothing). The image is static; nobody frees it. Light and shade are
/// dithered from the four colours, so the icon needs only four colour map cells.

// clang-format off
static const char* const installIcon_icon[] = {
    // width, height, colours, characters per pixel
    "48 48 4 1",
    ". c #c1c1c1c1c1c1",
    "X c #000",
    "o c #8b8b00000000",
    "O c #ffffffffffff",
    "................................................",
    "...................XXXXXXXXXX...................",
    "...............XXXXOoooooooOOXXXX...............",
    ".............XXXOOOOooooooOoooooXXX.............",
    "............XXOOOooOOOOOOOOoooooooXX............",
    "..........XXoooOoooooooooOOOOooooooOXX..........",
    ".........XXoooOooooooooooOoooOOOoooOoXX.........",
    "........XoooooooooooooooOoooooooOOoOoooX........",
    ".......XoooooOOOooooooooOoooooooooOOooooX.......",
    "......XooooOOOOOOooooooOoooooooooooOOOooXX......",
    ".....XXoooOOOOOOOooooooOoooooooooooOooOooXX.....",
    ".....XooooOOOOOOooooooOoooooooooooOooooOOoX.....",
    "....XOOOoOOOOOOOoOOOOOOoooooooooooOooooooOoX....",
    "...XXOoooOOOOOOoooooooOOOoooooooooOooooooooXX...",
    "...XOoooooOOOooooooooOoooOOOooooooOooooooXoXX...",
    "..XXOooooooooooooooooOooooooOOOooOooooooXooXXX..",
    "..XOooooooOoooooooooOooooooooooOOOoooooooooXXX..",
    "..XOooooooOoooooooooOoooooooooooOOOooooooooXXX..",
    "..XOooooooOoooooooooOoooooooooooOooOoooooXoXXX..",
    ".XoOooooooOoooooooooOoooooooooooOoooOOooXooXXXX.",
    ".XoOoooooOoooooooooOoooooooooooOooooooOooXoXXXX.",
    ".XoOoooooOoooooooooOoooooooooooOooooooXOXooXXXX.",
    ".XoOoooooOoooooooooOooooooooooOooooooooooooXXXX.",
    ".XoOoOOOOOOOOOOOOOOOooooooooooOoooooXoXoXooXXXX.",
    ".XoOOooooOooooooooOOOOooooooooOooooooooXoooXXXX.",
    ".XOOoooooOooooooooOoooOOOooooOooooooooXoXXXXXXX.",
    ".XOOooooooOoooooooOooooooOOooOoooooooXoXXXXXXXX.",
    ".XooOoooooOoooooooOooooooooOOoooooooXoXoXXXXXXX.",
    ".XooOoooooOoooooooOooooooooOoOOooooooXoXoXXXXXX.",
    "..XoOoooooOooooooOoooooooooOoooOooXoXooXXXXXXX..",
    "..XooOooooOooooooOooooooooOoooooOOoXoooXXXXXXX..",
    "..XooOooooOooooooOooooooooOoooooXooooXXXXXXXXX..",
    "..XXooOooooOoooooOoooooooOoooooooXoooXXXXXXXXX..",
    "...XooOooooOoooooOoooooooOooooXoXoXooXXXXXXXX...",
    "...XXooOoOOOOOOOOOooooooOooooXoXoXoXXXXXXXXXX...",
    "....XoooOooooooooOOOoooOXoXoXoXoXoXXXXXXXXXX....",
    ".....XoOooooooooooooOOOooooXoXoooXXXXXXXXXX.....",
    ".....XXOooooooooooooooOOXoXoXooXXXXXXXXXXXX.....",
    "......XOooooooooooooooooOooXoooXXXXXXXXXXX......",
    ".......XXoXoXoXoXoXoXoXoXXoooXXXXXXXXXXXX.......",
    "........XXoXoooooooXoXoXoXooXXXXXXXXXXXX........",
    ".........XXoXoXoXoXXXoXXXXXoXXXXXXXXXXX.........",
    "..........XXoXoXoXoXXXoXXXXXXXXXXXXXXX..........",
    "............XXXXXXXXXXXXXXXXXXXXXXXX............",
    ".............XXXXXXXXXXXXXXXXXXXXXX.............",
    "...............XXXXXXXXXXXXXXXXXX...............",
    "...................XXXXXXXXXX...................",
    "................................................",
};
// clang-format on

static_assert(sizeof(installIcon_icon) / sizeof(installIcon_icon[0]) == 1 + 4 + 48,
              "one line of sizes, one per colour, one per row of pixels");
