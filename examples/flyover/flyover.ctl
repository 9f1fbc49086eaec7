terrain.grd
ground.imp
sites.sit
flyover.trj
-
-
jet.lst
30.48
Example flyover over a hill, 24-band jet source
ambient.txt
