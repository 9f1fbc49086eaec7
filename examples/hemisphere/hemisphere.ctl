../flyover/terrain.grd
../flyover/ground.imp
../flyover/sites.sit
../flyover/flyover.trj
-
-
jet.nc
30.48
Example flyover with a noise hemisphere source
../flyover/ambient.txt
