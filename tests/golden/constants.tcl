# Constants, every unit and every prefix, to the bit.
foreach name {
    amu atm au avogadro boltzman boltzmann c catalan e electroncharge electronmass electronvolt euler faraday
    finestructure gamma gas gravity hbar perfectgasvolume pi planck protonmass rydberg speedlight standardgravity
    standardpressure stefanboltzman stefanboltzmann watertriple
} {
    golden $name double [list zavo_constant $name]
}

# A pure number takes any unit that others make dimensionless again.
foreach {others names} {
    m^-1          {angstrom au feet foot in metre meter mile mill parsec point yard}
    kg^-1         {amu g gram lb ounce oz pound slug}
    s^-1          {day hour hr min minute second year}
    s             {hz hertz}
    K^-1          {celsius degc degf degk fahrenheit kelvin}
    m^-2          {acre}
    m^-3          {liter litre}
    N^-1          {dyne newton poundal micron}
    pascal^-1     {atm atmosphere bar n*m^-2}
    J^-1          {btu erg joule maxwell*ampere wb*a weber*ampere}
    A^-1          {abampere ampere statampere c*s coulomb*s^-1}
    coulomb^-1    {abcoulomb statcoulomb}
    V^-1          {abvolt volt}
    m^-2*s        {stoke}
    pascal^-1*s^-1  {poise}
    volt^-1*A     {ohm}
    volt^-1*A^-1  {w watt}
    ohm*s^-1      {farad}
    ohm^-1*s^-1   {henry}
    weber^-1*m^2  {t tesla}
    m^-1*kg^2*s   {gauss}
    s^-3          {l}
    1             {sec mole}
} {
    foreach name $names {
        golden per-$name double [list zavo_constant pi $name*$others]
    }
}

foreach prefix {
    a f p n u m c k { } g t d dk atto femto pico nano micro milli centi deci deca kilo myria mega giga tera
} {
    set label [string map {{ } blank} $prefix]
    golden prefix-$label double [list zavo_constant rydberg ${prefix}m^-1]
    golden power-$label double [list zavo_constant pi ${prefix}m^2*m^-2]
}
for {set power -12} {$power <= 12} {incr power} {
    golden foot-$power double [list zavo_constant pi foot^$power*m^[expr {-$power}]]
}

foreach {name arguments} {
    feet {c foot/s}  imperial {standardgravity feet/s^2}  gas {gas erg/mole/degf}
    gravity {gravity poundal*foot^2/oz^2}  weight {protonmass N}  psi {atm lb/in^2}
    stefan {stefanboltzmann btu/hour/foot^2/degf^4}  planck {planck erg*hour}  rydberg {rydberg 1/in}
    underflow {pi tm^3*m^-3}  overflow {pi am^3*m^-3}  si {gas s}
    unknown {tau}  unit {pi furlong}  different {c ft/s}  eleven {pi 1*1*1*1*1*1*1*1*1*1*1}  shadow {au au}
} {
    golden with-$name double [list zavo_constant {*}$arguments]
}
golden usage text zavo_constant
