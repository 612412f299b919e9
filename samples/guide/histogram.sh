awk 'BEGIN { for (k = 0; k < 200000; ++k) printf "%.6f,%.6f,%.6f\n", 256 * (k * 0.8566748839 % 1),
  256 * (k * 0.7338918566 % 1), 256 * (k * 0.6287067210 % 1) }' >build/positions.csv
scripts/preview.sh --positions build/positions.csv --quality quintic --stats --output build/samples.npy | tail -n +2
