printf 'x,y\n# the middle of a cell, and of its upper edge\n\n0.5,0.5\n0.5,0\n' >build/points.csv
scripts/preview.sh --positions build/points.csv --output build/samples.raw >build/report.txt
head -n 3 build/samples.raw | awk '{ $1 = $1; print }'
tail -c +129 build/samples.raw | od -A n -t f4 -w4
