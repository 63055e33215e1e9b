#!/bin/sh

# 
# zBuild(TM)
# route_design_reports.sh: a zBuild-generated reports generation script for UNIX
# Copyright the testers
# 

if [ -z "$PATH" ]; then
  PATH=/opt/first/bin:/opt/second/bin:/opt/tarnel/bin
else
  PATH=/opt/first/bin:/opt/second/bin:/opt/tarnel/bin:$PATH
fi
export PATH

if [ -z "$LD_LIBRARY_PATH" ]; then
  LD_LIBRARY_PATH=/opt/first/lib
else
  LD_LIBRARY_PATH=/opt/first/lib:$LD_LIBRARY_PATH
fi
export LD_LIBRARY_PATH

MQ_PWD='@RUNDIR@'
cd "$MQ_PWD"

MQ_LOG=route_design_reports.log
/bin/touch $MQ_LOG

ZUMStep="./ZUMWrapReports.sh"
EAStep()
{
     $ZUMStep $MQ_LOG "$@" >> $MQ_LOG 2>&1
     if [ $? -ne 0 ]
     then
         exit
     fi
}

EAStep tarnel -first --second=2 -nolog -nojournal -notrace -mode batch -product zBuild -source reports/all.tcl -tclargs route_design