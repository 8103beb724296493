#!/usr/bin/awk -f
# Writes a sphere of radius 1 as Wavefront obj:   sphere.awk [-v bands=8] >sphere.obj
BEGIN {
    if (bands < 2) bands = 8
    pi = atan2(0, -1)
    print "v 0 1 0"
    for (ring = 1; ring < bands; ++ring)
        for (step = 0; step < 2 * bands; ++step)
            print "v", sin(pi * ring / bands) * cos(pi * step / bands), cos(pi * ring / bands),
                sin(pi * ring / bands) * sin(pi * step / bands)
    print "v 0 -1 0"
    last = 2 + (bands - 1) * 2 * bands
    for (step = 0; step < 2 * bands; ++step) {
        next_ = (step + 1) % (2 * bands)
        print "f", 1, 2 + next_, 2 + step
        for (ring = 0; ring < bands - 2; ++ring) {
            top = 2 + ring * 2 * bands
            print "f", top + step, top + next_, top + 2 * bands + next_, top + 2 * bands + step
        }
        print "f", last, last - 2 * bands + step, last - 2 * bands + next_
    }
}
