#include "engine/brochure.h"

// One literal per section, so that a release that changes a section has a small diff.
const char* const kvcInstallMsg =
    R"(                        W E L C O M E   T O   Z A R N   2 . 0

              The shape of things to come, on your desk today.

Thank you for choosing Zarn 2.0, the 3D modeling suite for people who think
in pictures! While your files make the trip to disk, sit back, keep a finger
on the space bar and see what is waiting for you.

)"
    R"(FOUR EDITIONS, ONE FAMILY
-------------------------

  Zarn-Pinnet    The flagship. Every tool, every library and the photoreal
                 renderer, for studios that take a project all the way from
                 the first sketch to the final frame.

  Zarn-Corvan    For the builders of virtual worlds: lean polygons, levels
                 of detail and a frame rate you can count on. Comes with
                 all ten subsystems.

  Zarn-Lustrel   For designers who work and present live on the screen.
                 Comes without the photoreal renderer and without the
                 miscellaneous sources, and is light on your disk.

  Zarn-Ambrel    For the seat next to the specialist: view, measure, mark
                 up and render what others have modeled. Comes without the
                 clip-art projects.

All four share one file format. What leaves the studio in Pinnet opens at
the client's in Ambrel, with nothing lost on the way.

)"
    R"(Simple yet powerful modeling tools that are a pleasure to use!
--------------------------------------------------------------

  * Extrude, sweep, revolve, loft and bevel with the mouse, right in the
    shaded view. What you drag is what you get.
  * Cut, join and intersect solids, and change your mind a week later:
    every operation stays live until you say it is final.
  * Pull on a point, an edge, a face or a whole neighborhood with soft
    magnets that feel like clay under your thumb.
  * Snap to grids, guides, normals and tangents. Type a number whenever
    "about there" is not good enough.
  * Measure anything: lengths, angles, areas, volumes, in inches or in
    millimeters, and mixed if you must.
  * Undo without end. Try the crazy idea first!

)"
    R"(Real time modeling features for virtual reality applications!
-------------------------------------------------------------

  * Walk through your model while you are building it.
  * A polygon budget at the edge of the window tells you what each object
    costs, before your frame rate does.
  * Smart reduction takes away up to 90% of the polygons and leaves the
    silhouette alone.
  * Levels of detail, billboards, hinges and switches are ordinary objects:
    pick them, move them, name them.
  * Stereo glasses, head trackers and space balls work from the day you
    plug them in.

)"
    R"(Scene composition has never been easier!
----------------------------------------

  * Drag models from the library into the scene. They land on the floor,
    not inside it.
  * Lights you can grab: aim a spotlight by pointing at what it should hit.
  * As many cameras as you like, each with its own lens and its own window.
  * Backdrops, fog and skies by the hour: noon for the brochure, dusk for
    the award.
  * Groups, layers and instances keep a city of ten thousand windows as
    handy as a single house.

)"
    R"(Everything moves, and moves the way you meant it!
-------------------------------------------------

  * Set a key, move on, set another: Zarn fills in the rest. Position,
    color, lens, light, shape: whatever has a value can be animated.
  * Draw the path of a camera through the scene and ride along to test it.
  * Joints, springs and gravity for everything too tedious to do by hand.
  * Line up your keys to the sound track, down to the single frame.

)"
    R"(A clip art library worth opening!
---------------------------------

  * Textures: wood, marble, brick, cloth and clouds. All of them tile, and
    none of them shows its seams.
  * Materials: brushed steel to bathroom glass, ready to drop on a surface.
  * Models: furniture, vehicles, plants and people to fill an empty room.
  * Projects: finished scenes to take apart. See how it was done, then do
    it better.

)"
    R"(Speaks the language of your other software!
-------------------------------------------

  * Import translators bring in drawings, meshes and animation paths, and
    clean up doubled points and flipped faces along the way.
  * Export translators hand your work to CAD, simulation and games, with
    names, colors and hierarchy intact.
  * Is your format missing? The translator developer library holds the
    headers, the examples and a skeleton that compiles on the first try.

)"
    R"(Pictures that make clients reach for the telephone!
---------------------------------------------------

  * The photoreal renderer traces true reflections, refractions and soft
    shadows, at any size from a thumbnail to a billboard.
  * Render a corner, the frame or the film, on one machine or overnight on
    every workstation down the hall.
  * Mattes, depth and object masks come out beside the picture, ready for
    the paint box.
  * The picture gallery shows what our customers have made with it. Bring
    a cup of coffee; you will be there for a while.

)"
    R"(Open, down to the source!
-------------------------

  * The miscellaneous sources are small programs that we use ourselves:
    batch converters, file checkers, plug-in examples. Borrow freely.

Clip art, translators, renderer, gallery, sources: take what you need today.
Start the installer again at any time to add one, or to clear it off your
disk.

)"
    R"(At home on your workstation!
----------------------------

  * Windows, menus and dialogs follow the Motif style guide, so your hands
    know their way around already.
  * Set up the screen your way: Zarn remembers every window, every key and
    every color from one session to the next.
  * Help is one key away, on every button, with pictures.
  * Files are written to the side first and put in place when they are
    complete. A power failure costs you minutes, not a model.
  * Fourteen guided tours take you from your first cube to your first film
    in a long afternoon.

)"
    R"(WHAT OUR CUSTOMERS SAY
----------------------

  "On Monday the architects faxed us a floor plan. On Thursday the mayor
   was strolling through the lobby, asking for a bigger fountain, and we
   moved it while he stood there. With our old package we would still have
   been digitizing the stairs. Zarn has paid for itself twice, and it is
   the only program here that nobody swears at."

                    -- Marguerite Oldenkamp, head of visualization,
                       Tidewater & Finch, Developers

)"
    R"(WE ARE HERE TO HELP
-------------------

A question, a wish, a picture you are proud of? We want to hear about it!

     Zarn Software
     1200 Meridian Way, Suite 48
     Parallel Springs

     Sales        (555) 555-0142        sales@zarn.example
     Support      (555) 555-0143        support@zarn.example
     Fax          (555) 555-0144
     World Wide Web                     http://www.zarn.example/

Growing? Move up from one edition to another whenever you like: you pay the
difference and keep your models, your settings and your habits.

Support is free for the first 90 days, and answered by the people who wrote
the program. Have the name of your edition and your release (2.0) at hand.

Now keep an eye on the installer: when it says that it is done, so is the
waiting. Have fun, and welcome to the family!

                                        The Zarn team
)";
