+ twi_exporter 0.1 ./twi_exporter
